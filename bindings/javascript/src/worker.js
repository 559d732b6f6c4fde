// The worker: it holds one model and answers one request after the other. Between the parts of a
// long request it looks whether the request was cancelled.
import { Engine } from './engine.js';
import { KoraError } from './errors.js';
import { loadFiles } from './files.js';
import { SentenceMemory } from './sentences.js';

const kPart = 2000; // characters that are translated between two looks, about 50 ms

const inBrowser = typeof WorkerGlobalScope !== 'undefined';
const port = inBrowser ? globalThis : (await import('node:worker_threads')).parentPort;

let engine = null;
let memory = null; // of the engine's sentences
let chain = Promise.resolve();
const waiting = new Map(); // id to AbortController, the running request included
let glossary = ''; // that the engine has
let current = null; // id of the running request

const send = (message) => port.postMessage(message);

// Lets messages come in. A timer would be held back in hidden pages.
function turn() {
  return new Promise((resolve) => {
    const { port1, port2 } = new MessageChannel();
    port1.onmessage = () => {
      port1.close();
      resolve();
    };
    port2.postMessage(null);
  });
}

// Groups of whole lines of about kPart characters each, with where they begin.
function parts(text) {
  const result = [];
  for (let begin = 0; begin < text.length; ) {
    let end = begin + kPart >= text.length ? -1 : text.indexOf('\n', begin + kPart);
    if (end < 0 || end + 1 === text.length) end = text.length; // a last line feed is kept
    result.push({ begin, text: text.slice(begin, end) });
    begin = end + 1;
  }
  return result;
}

// Runs `step` on each part of a text. The whole gives the same as one call would.
async function inParts(text, signal, step) {
  for (const part of parts(text)) {
    await turn();
    signal.throwIfAborted();
    step(part);
  }
}

function useGlossary(table = '') {
  if (table === glossary) return [];
  glossary = null; // unknown, should it fail
  memory.clear();
  const report = engine.setGlossary(table);
  glossary = table;
  return report;
}

const requests = {
  async open({ source, module, direction, store, check }, signal, report) {
    const next = await Engine.create(module);
    const loaded = await loadFiles(source, {
      store,
      signal,
      report,
      take: (name, bytes) => next.addFile(name, bytes),
    });
    signal.throwIfAborted();
    const hasManifest = next.files?.some((file) => file.name === 'manifest.conf');
    const begin = performance.now();
    const wanted = direction || loaded.direction;
    if (!wanted) throw new KoraError('bad-direction', 'engine.conf does not name a direction');
    next.open(wanted, { check: check ?? (!loaded.checked && hasManifest) });
    engine = next;
    memory = new SentenceMemory(engine, wanted);
    glossary = '';
    return {
      direction: wanted,
      version: engine.version,
      milliseconds: performance.now() - begin,
      memory: engine.memory,
    };
  },

  async translate({ text, format, glossary: table }, signal, report) {
    useGlossary(table);
    if (format === 'html') return { text: engine.markup(text).text };
    const lines = [];
    await inParts(text, signal, (part) => {
      const output = engine.translate(part.text);
      // The bare engine leaves empty lines out.
      if (engine.hasDocuments || output !== '') lines.push(output);
      report({ progress: { done: part.begin + part.text.length, total: text.length } });
    });
    return { text: lines.join('\n') };
  },

  async align({ text, format, reuse, glossary: table }, signal) {
    useGlossary(table);
    if (format === 'html') return { ...engine.markup(text), translated: text.length };
    let output = '';
    const links = [];
    let first = true;
    let translated = 0;
    const reusing = reuse && engine.hasDocuments;
    await inParts(text, signal, (part) => {
      const aligned = reusing ? memory.align(part.text) : engine.align(part.text);
      translated += aligned.translated ?? part.text.length;
      if (!engine.hasDocuments && aligned.text === '') return;
      if (!first) output += '\n';
      first = false;
      const moved = ({ start, end }, by) => ({ start: start + by, end: end + by });
      for (const link of aligned.links) {
        links.push({
          source: moved(link.source, part.begin),
          target: moved(link.target, output.length),
        });
      }
      output += aligned.text;
    });
    return { text: output, links, translated };
  },

  async nbest({ text, n }) {
    return engine.nbest(text, n);
  },

  async explain({ text, n }) {
    return engine.explain(text, n);
  },

  async checkGlossary({ table }) {
    glossary = null;
    return useGlossary(table);
  },

  async memory() {
    return engine.memory;
  },
};

async function answer({ id, request, args }) {
  const control = waiting.get(id);
  if (!control) return; // cancelled while it waited
  current = id;
  try {
    if (request !== 'open' && engine === null) throw new KoraError('closed', 'no model is open');
    const report = (what) => send({ id, ...what });
    send({ id, value: await requests[request](args, control.signal, report), memory: engine?.memory });
  } catch (error) {
    // A trap leaves the module's memory in an unknown state: this worker must not go on.
    const trapped = error instanceof WebAssembly.RuntimeError;
    const code = control.signal.aborted ? 'aborted' : trapped ? 'crashed' : error.code ?? 'failed';
    send({ id, error: { code, message: String(error.message ?? error) } });
    if (code === 'crashed') engine = null;
  } finally {
    waiting.delete(id);
    current = null;
  }
}

function receive(message) {
  if (message.cancel !== undefined) {
    waiting.get(message.cancel)?.abort();
    if (message.cancel !== current && waiting.delete(message.cancel)) {
      send({ id: message.cancel, error: { code: 'aborted', message: 'cancelled' } });
    }
    return;
  }
  waiting.set(message.id, new AbortController());
  chain = chain.then(() => answer(message));
}

if (inBrowser) {
  port.onmessage = (event) => receive(event.data);
} else {
  port.on('message', receive);
}
send({ ready: true });
