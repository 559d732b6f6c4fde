// @kora/engine: offline translation. The types and what they promise are in index.d.ts.
import { KoraError, abortReason } from './errors.js';
import { parseRegistry } from './registry.js';
import { openStore } from './store.js';
import { spawn } from './spawn.js';

export { KoraError };

const kGrace = 500; // milliseconds that a cancelled call may go on before its worker is ended

let compiled = null;

// Compiled once for all workers; tried again after a failure.
function compile() {
  compiled ??= (async () => {
    if (typeof WebAssembly !== 'object') {
      throw new KoraError('unsupported', 'this browser cannot run WebAssembly');
    }
    const url = new URL('../kora.wasm', import.meta.url);
    if (url.protocol === 'file:') {
      const { readFile } = await import('node:fs/promises');
      return WebAssembly.compile(await readFile(url));
    }
    const response = await fetch(url);
    if (!response.ok) throw new KoraError('download-failed', `${url}: HTTP ${response.status}`);
    return WebAssembly.compile(await response.arrayBuffer());
  })().catch((error) => {
    compiled = null;
    if (error instanceof KoraError) throw error;
    const unsupported = error instanceof WebAssembly.CompileError;
    throw new KoraError(
      unsupported ? 'unsupported' : 'download-failed',
      unsupported ? `this browser is too old for the module: ${error.message}` : error.message);
  });
  return compiled;
}

// What a worker needs to find the files, from what a program gave.
function sourceOf(where) {
  if (typeof where === 'string' || where instanceof URL) {
    const text = String(where);
    const isAddress = /^[a-z][a-z0-9+.-]+:\/\//i.test(text);
    if (isAddress && !text.startsWith('file:')) return { kind: 'url', url: text };
    if (typeof document !== 'undefined' || typeof WorkerGlobalScope !== 'undefined') {
      return { kind: 'url', url: new URL(text, globalThis.location.href).href };
    }
    return { kind: 'folder', path: isAddress ? decodeURIComponent(new URL(text).pathname) : text };
  }
  if (where && Array.isArray(where.files) && where.url) return { kind: 'model', model: where };
  if (where && typeof where === 'object') {
    const list = Array.isArray(where)
      ? where.map((file) => [file.name, file.data ?? file])
      : where instanceof Map ? [...where] : Object.entries(where);
    return { kind: 'files', files: list.map(([name, data]) => ({ name, data })) };
  }
  throw new KoraError('bad-argument', 'a model is a folder, an address, a registry entry or files');
}

// Lines "source TAB target", from pairs or as they are.
function tableOf(glossary = '') {
  if (typeof glossary === 'string') return glossary;
  if (!Array.isArray(glossary)) throw new KoraError('bad-argument', 'a glossary is a list of pairs');
  return glossary.map(([from, to]) => {
    if (/[\t\n]/.test(from + to)) {
      throw new KoraError('bad-argument', 'a glossary entry has a tab or a line feed in it');
    }
    return `${from}\t${to}\n`;
  }).join('');
}

function formatOf(format = 'text') {
  if (format === 'text' || format === 'html') return format;
  throw new KoraError('bad-argument', "a format is 'text' or 'html'");
}

export class Translator {
  #source;
  #options;
  #worker = null;
  #starting = null;
  #closed = false;
  #calls = new Map(); // id to {resolve, reject, ...}
  #nextId = 1;
  #info = null;

  /** Use Translator.open. */
  constructor(source, options) {
    this.#source = source;
    this.#options = options;
  }

  static async open(where, options = {}) {
    options.signal?.throwIfAborted();
    const translator = new Translator(sourceOf(where), options);
    try {
      await translator.#start(options.signal);
    } catch (error) {
      translator.close();
      throw error;
    }
    return translator;
  }

  get direction() {
    return this.#info.direction;
  }
  get version() {
    return this.#info.version;
  }
  get openingTime() {
    return this.#info.milliseconds;
  }
  get memory() {
    return this.#info.memory;
  }
  get closed() {
    return this.#closed;
  }

  async translate(text, options = {}) {
    const shared = { format: formatOf(options.format), glossary: tableOf(options.glossary) };
    return this.#each(text, async (one) => {
      const result = await this.#call(
        'translate', { text: one, ...shared }, options.signal, { progress: options.progress });
      if (options.nbest > 0) {
        result.alternatives = await this.#call(
          'nbest', { text: one, n: options.nbest }, options.signal);
      }
      return result;
    });
  }

  async align(text, options = {}) {
    const shared = {
      format: formatOf(options.format),
      glossary: tableOf(options.glossary),
      reuse: options.reuse === true,
    };
    return this.#each(text, (one) => this.#call('align', { text: one, ...shared }, options.signal));
  }

  /** What of a glossary can never match, a text for each entry. */
  async checkGlossary(glossary, options = {}) {
    return this.#call('checkGlossary', { table: tableOf(glossary) }, options.signal);
  }

  explain(text, options = {}) {
    return this.#each(text, (one) =>
      this.#call('explain', { text: one, n: options.nbest ?? 5 }, options.signal));
  }

  close() {
    this.#closed = true;
    this.#drop(new KoraError('closed', 'the translator was closed'));
  }

  async #each(text, run) {
    if (typeof text === 'string') return run(text);
    if (!Array.isArray(text) || text.some((one) => typeof one !== 'string')) {
      throw new KoraError('bad-argument', 'a text is a string or a list of strings');
    }
    return Promise.all(text.map(run));
  }

  // A worker with the model in it, which all calls share until it dies.
  #start(signal) {
    this.#starting ??= this.#startWorker(signal).catch((error) => {
      this.#starting = null;
      throw error;
    });
    return this.#starting;
  }

  async #startWorker(signal) {
    const module = await compile();
    signal?.throwIfAborted();
    if (this.#closed) throw new KoraError('closed', 'the translator was closed');
    const worker = await spawn();
    if (this.#closed) {
      worker.end();
      throw new KoraError('closed', 'the translator was closed');
    }
    this.#worker = worker;
    worker.onmessage = (message) => this.#receive(message);
    worker.onend = (reason) => {
      if (this.#worker === worker) this.#drop(new KoraError('worker-died', reason));
    };
    const { direction, store, check, progress, warning } = this.#options;
    this.#info = await this.#post(
      'open', { source: this.#source, module, direction, store, check }, signal,
      { progress, warning });
  }

  async #call(request, args, signal, listeners) {
    if (this.#closed) throw new KoraError('closed', 'the translator was closed');
    signal?.throwIfAborted();
    await this.#start();
    signal?.throwIfAborted();
    return this.#post(request, args, signal, listeners);
  }

  #post(request, args, signal, listeners = {}) {
    return new Promise((resolve, reject) => {
      const id = this.#nextId++;
      const worker = this.#worker;
      if (!worker) {
        reject(new KoraError('worker-died', 'the worker ended'));
        return;
      }
      const cancel = () => {
        reject(abortReason(signal));
        worker.post({ cancel: id });
        // One sentence cannot be interrupted; a worker that stays in it is given up.
        setTimeout(() => {
          if (this.#worker === worker && this.#calls.has(id)) {
            this.#drop(new KoraError('worker-died', 'the worker was ended by a cancelled call'), id);
          }
        }, kGrace);
      };
      signal?.addEventListener('abort', cancel, { once: true });
      this.#calls.set(id, {
        listeners,
        signal,
        resolve,
        reject,
        request,
        args,
        done: () => signal?.removeEventListener('abort', cancel),
      });
      worker.post({ id, request, args });
    });
  }

  #receive({ id, value, error, progress, warning, memory }) {
    const call = this.#calls.get(id);
    if (!call) return;
    if (progress) return call.listeners.progress?.(progress);
    if (warning) return call.listeners.warning?.(warning);
    call.done();
    this.#calls.delete(id);
    if (this.#calls.size === 0) this.#worker?.idle();
    if (memory !== undefined && this.#info) this.#info.memory = memory;
    if (!error) return call.resolve(value);
    call.reject(new KoraError(error.code, error.message));
    if (error.code === 'crashed') this.#drop(new KoraError('worker-died', error.message));
  }

  // Ends the worker. The next call starts another one; calls that waited behind a cancelled one
  // are asked again there.
  #drop(error, cancelledId = null) {
    const worker = this.#worker;
    const calls = [...this.#calls];
    this.#worker = null;
    this.#starting = null;
    this.#calls.clear();
    worker?.end();
    for (const [id, call] of calls) {
      call.done();
      if (cancelledId !== null && id !== cancelledId && !call.signal?.aborted && !this.#closed) {
        this.#call(call.request, call.args, call.signal, call.listeners).then(call.resolve, call.reject);
      } else {
        call.reject(error);
      }
    }
  }
}

export class Registry {
  constructor(models) {
    this.models = models;
  }

  static async open(url, { signal } = {}) {
    const address = new URL(url, globalThis.location?.href);
    let response;
    try {
      response = await fetch(address, { signal });
    } catch (error) {
      signal?.throwIfAborted();
      throw new KoraError('download-failed', `${address}: ${error.message}`);
    }
    if (!response.ok) throw new KoraError('download-failed', `${address}: HTTP ${response.status}`);
    return new Registry(parseRegistry(await response.text(), address));
  }

  find(direction) {
    return this.models.find((model) => model.direction === direction) ?? null;
  }

  // Which files are kept already; true when all of a model are.
  async isStored(model, { store = 'auto' } = {}) {
    const kept = new Set(await openStore(store).list());
    return model.files.every((file) => kept.has(file.sha256));
  }

  async remove(model, { store = 'auto' } = {}) {
    const kept = openStore(store);
    await Promise.all(model.files.map((file) => kept.delete(file.sha256)));
  }
}
