// The WebAssembly module and its C functions, for the thread that calls them. One Engine holds one
// model; its memory goes when the Engine goes. Every call runs to its end.
import { KoraError } from './errors.js';
import { decodeWithUnits, linksInUnits } from './offsets.js';

const encoder = new TextEncoder();
const decoder = new TextDecoder();

const kCheckManifest = 1;
const kMarkup = 1; // KORA_C_MARKUP
const kFileRecord = 16; // bytes of a kora_c_file: four numbers of 32 bits

// The module reads no files and writes to nobody: what the C library would ask the system for is
// answered with "no such function".
function imports(module) {
  const answers = {
    proc_exit(code) {
      throw new KoraError('crashed', `the module ended itself with code ${code}`);
    },
    emscripten_notify_memory_growth() {},
    environ_sizes_get: () => 52,
  };
  const result = {};
  for (const { module: space, name, kind } of WebAssembly.Module.imports(module)) {
    if (kind !== 'function') continue;
    result[space] ??= {};
    result[space][name] = answers[name] ?? (() => (space === 'env' ? -52 : 52));
  }
  return result;
}

export class Engine {
  /** @param {WebAssembly.Module} module */
  static async create(module) {
    const engine = new Engine();
    const instance = await WebAssembly.instantiate(module, imports(module));
    engine.c = instance.exports;
    engine.c._initialize?.();
    engine.translator = 0;
    return engine;
  }

  get version() {
    return this.#stringAt(this.c.kora_c_version());
  }

  /** Bytes of the module's memory: the model, the search, and what is free. */
  get memory() {
    return this.c.memory.buffer.byteLength;
  }

  /** The code of a direction's name such as "en-zh". Throws bad-direction. */
  direction(name) {
    const code = this.#withBytes(encoder.encode(name), (at, size) =>
      this.c.kora_c_find_direction(at, size),
    );
    if (code < 0) throw new KoraError('bad-direction', `there is no direction '${name}'`);
    return code;
  }

  /**
   * Puts a file of the model into the module's memory, to stay there.
   * @param {string} name
   * @param {Uint8Array} bytes
   */
  addFile(name, bytes) {
    this.files ??= [];
    this.files.push({ name, at: this.#copy(bytes), size: bytes.length });
  }

  /** Loads the model of the files that were added. */
  open(direction, { check = true } = {}) {
    const { c } = this;
    const code = this.direction(direction);
    const names = this.files.map((file) => encoder.encode(file.name));
    const nameAts = names.map((name) => this.#copy(name));
    const list = this.#allocate(Math.max(1, this.files.length) * kFileRecord);
    const results = this.#allocate(8);
    try {
      const view = new DataView(c.memory.buffer);
      this.files.forEach((file, i) => {
        const at = list + i * kFileRecord;
        view.setUint32(at, nameAts[i], true);
        view.setUint32(at + 4, names[i].length, true);
        view.setUint32(at + 8, file.at, true);
        view.setUint32(at + 12, file.size, true);
      });
      const result = c.kora_c_open_memory(
        code, list, this.files.length, check ? kCheckManifest : 0, results, results + 4);
      const after = new DataView(c.memory.buffer);
      const messageAt = after.getUint32(results + 4, true);
      if (result !== 0) {
        const message = messageAt === 0 ? 'out of memory' : this.#stringAt(messageAt);
        c.kora_c_free(messageAt);
        throw new KoraError(this.#codeOf(result), message);
      }
      this.translator = after.getUint32(results, true);
    } finally {
      nameAts.forEach((at) => c.free(at));
      c.free(list);
      c.free(results);
    }
  }

  translate(text) {
    return this.#call(text, 2, (at, size, out) =>
      this.c.kora_c_translate(this.translator, at, size, out, out + 4),
      (out) => decoder.decode(this.#taken(out[0], out[1])));
  }

  /** The translation and its links in UTF-16 units. */
  align(text) {
    const bytes = encoder.encode(text);
    return this.#call(bytes, 4, (at, size, out) =>
      this.c.kora_c_translate_aligned(this.translator, at, size, out, out + 4, out + 8, out + 12),
      (out) => this.#aligned(bytes, out));
  }

  /** Whether the module keeps layout and markup, and has a glossary. */
  get hasDocuments() {
    return typeof this.c.kora_c_translate_document === 'function';
  }

  /** A document in HTML or XML: its translation, markup kept, and the links. */
  markup(text) {
    if (!this.hasDocuments) throw new KoraError('unsupported', 'this module translates no markup');
    const bytes = encoder.encode(text);
    return this.#call(bytes, 4, (at, size, out) =>
      this.c.kora_c_translate_document(
        this.translator, at, size, kMarkup, 0, out, out + 4, out + 8, out + 12),
      (out) => this.#aligned(bytes, out));
  }

  /** Replaces the glossary by a table of lines "source TAB target"; gives what can never match. */
  setGlossary(table) {
    if (!this.hasDocuments) {
      if (table === '') return [];
      throw new KoraError('unsupported', 'this module has no glossary');
    }
    this.#call('', 1, () => this.c.kora_c_set_glossary(this.translator, 0, 0, 0, 0), () => null);
    if (table === '') return [];
    return this.#call(table, 1, (at, size, out) =>
      this.c.kora_c_set_glossary(this.translator, at, size, 0, out),
      ([report]) => {
        const text = report === 0 ? '' : this.#stringAt(report);
        this.c.kora_c_free(report);
        return text.split('\n').filter((line) => line !== '');
      });
  }

  /** At most n translations of one sentence, best first. */
  nbest(text, n) {
    return this.#call(text, 4, (at, size, out) =>
      this.c.kora_c_translate_nbest(this.translator, at, size, n, out, out + 4, out + 8, out + 12),
      ([texts, ends, scores, count]) => {
        const endList = this.#numbers(Uint32Array, ends, count);
        const scoreList = this.#numbers(Float32Array, scores, count);
        const bytes = this.#taken(texts, count === 0 ? 0 : endList[count - 1]);
        let begin = 0;
        return Array.from(endList, (end, i) => {
          const translation = decoder.decode(bytes.subarray(begin, end));
          begin = end + 1;
          return { text: translation, score: scoreList[i] };
        });
      });
  }

  /** Sentences, their best translations and the alternatives of their phrases; see index.d.ts. */
  explain(text, n) {
    const bytes = encoder.encode(text);
    const { sentences } = this.#call(bytes, 2, (at, size, out) =>
      this.c.kora_c_explain(this.translator, at, size, n, out, out + 4),
      (out) => JSON.parse(decoder.decode(this.#taken(out[0], out[1]))));
    const { units } = decodeWithUnits(bytes);
    const inUnits = (part) => {
      part.source = { start: units[part.source[0]], end: units[part.source[1]] };
    };
    for (const sentence of sentences) {
      inUnits(sentence);
      sentence.phrases.forEach(inUnits);
    }
    return { sentences };
  }

  #aligned(bytes, [text, length, links, count]) {
    const target = decodeWithUnits(this.#taken(text, length));
    const numbers = this.#numbers(Int32Array, links, 4 * count);
    return {
      text: target.text,
      links: linksInUnits(numbers, decodeWithUnits(bytes).units, target.units),
    };
  }

  // Runs a C function on a text with room for `count` results, which `read` turns into a value.
  #call(text, count, run, read) {
    if (this.translator === 0) throw new KoraError('closed', 'no model is open');
    const bytes = typeof text === 'string' ? encoder.encode(text) : text;
    const out = this.#allocate(4 * count);
    try {
      const result = this.#withBytes(bytes, (at, size) => run(at, size, out));
      if (result !== 0) {
        throw new KoraError(
          this.#codeOf(result), this.#stringAt(this.c.kora_c_message(this.translator)));
      }
      return read(Array.from(new Uint32Array(this.c.memory.buffer, out, count)));
    } finally {
      this.c.free(out);
    }
  }

  // "KORA_C_BAD_MODEL" is 'bad-model' here.
  #codeOf(result) {
    const name = this.#stringAt(this.c.kora_c_error_name(result));
    return name.replace('KORA_C_', '').toLowerCase().replaceAll('_', '-');
  }

  #allocate(size) {
    const at = this.c.malloc(size);
    if (at === 0) throw new KoraError('no-memory', `no memory for ${size} bytes`);
    return at;
  }

  #copy(bytes) {
    const at = this.#allocate(bytes.length + 1);
    new Uint8Array(this.c.memory.buffer, at, bytes.length).set(bytes);
    return at;
  }

  #withBytes(bytes, run) {
    const at = this.#copy(bytes);
    try {
      return run(at, bytes.length);
    } finally {
      this.c.free(at);
    }
  }

  // A copy of bytes that the C side handed over, which are freed.
  #taken(at, length) {
    const bytes = new Uint8Array(this.c.memory.buffer, at, length).slice();
    this.c.kora_c_free(at);
    return bytes;
  }

  #numbers(Type, at, count) {
    return new Type(this.#taken(at, count * Type.BYTES_PER_ELEMENT).buffer);
  }

  #stringAt(at) {
    const bytes = new Uint8Array(this.c.memory.buffer, at);
    return decoder.decode(bytes.subarray(0, bytes.indexOf(0)));
  }
}
