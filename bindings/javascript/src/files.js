// The files of a model, wherever they are: a folder (Node), a registry's model or the address of a
// folder (downloaded, checked, kept), or buffers. Runs in the worker.
import { sha256 } from './digest.js';
import { KoraError } from './errors.js';
import { parseManifest } from './registry.js';
import { openStore } from './store.js';

const decoder = new TextDecoder();

async function request(url, signal) {
  let response;
  try {
    response = await fetch(url, { signal });
  } catch (error) {
    if (signal.aborted) throw error;
    throw new KoraError('download-failed', `${url}: ${error.message}`);
  }
  if (!response.ok) throw new KoraError('download-failed', `${url}: HTTP ${response.status}`);
  return response;
}

async function textOf(url, signal) {
  return decoder.decode(await (await request(url, signal)).arrayBuffer());
}

// The bytes of a file whose size is known, as they come; `grown` hears how many.
async function download(url, file, signal, grown) {
  const bytes = new Uint8Array(file.size);
  const wrong = () => new KoraError(
    'bad-model', `${url}: the file is not of the size ${file.size}; it was changed or cut short`);
  let at = 0;
  const reader = (await request(url, signal)).body.getReader();
  try {
    for (;;) {
      const { done, value } = await reader.read();
      if (done) break;
      if (at + value.length > bytes.length) throw wrong();
      bytes.set(value, at);
      at += value.length;
      grown(value.length);
    }
  } catch (error) {
    await reader.cancel().catch(() => {});
    if (error instanceof KoraError || signal.aborted) throw error;
    throw new KoraError('download-failed', `${url}: ${error.message}`);
  }
  if (at !== bytes.length) throw wrong();
  return bytes;
}

// Gives every file of a model to `take(name, bytes)`. True when all digests were compared.
async function loadModel(model, { store, signal, take, report }) {
  const state = { loaded: 0, total: model.size };
  let warned = false;
  let checked = true;
  const grown = (count) => {
    state.loaded += count;
    report({ progress: { ...state } });
  };
  for (const file of model.files) {
    signal.throwIfAborted();
    let bytes = await store.get(file.sha256).catch(() => null);
    if (bytes && (bytes.length !== file.size || (await sha256(bytes)) !== file.sha256)) {
      await store.delete(file.sha256).catch(() => {});
      bytes = null;
    }
    if (bytes) {
      grown(bytes.length);
    } else {
      const url = new URL(file.name, model.url).href;
      bytes = await download(url, file, signal, grown);
      const digest = await sha256(bytes);
      if (digest !== null && digest !== file.sha256) {
        throw new KoraError(
          'digest-mismatch', `${url}: the contents are not those that were announced (SHA-256)`);
      }
      checked &&= digest !== null;
      try {
        await store.put(file.sha256, bytes);
      } catch (error) {
        // Without room the model works, but must be fetched again next time.
        if (!warned) {
          const code = error.name === 'QuotaExceededError' ? 'storage-full' : 'storage-failed';
          report({ warning: { code, message: `${file.name} could not be kept: ${error.message}` } });
        }
        warned = true;
      }
    }
    take(file.name, bytes);
  }
  return checked;
}

const sources = {
  async folder({ path }, { take }) {
    const { readdir, readFile, stat } = await import('node:fs/promises');
    const { join } = await import('node:path');
    let engine = '';
    try {
      for (const name of await readdir(path)) {
        if (!(await stat(join(path, name))).isFile()) continue;
        const bytes = await readFile(join(path, name));
        if (name === 'engine.conf') engine = decoder.decode(bytes);
        take(name, bytes);
      }
    } catch (error) {
      if (!error.syscall) throw error;
      throw new KoraError('bad-model', `${path}: ${error.message}`);
    }
    return { direction: directionOf(engine), checked: false };
  },

  async files({ files }, { take }) {
    let engine = '';
    for (const { name, data } of files) {
      const bytes = new Uint8Array(data instanceof Blob ? await data.arrayBuffer() : data);
      if (name === 'engine.conf') engine = decoder.decode(bytes);
      take(name, bytes);
    }
    return { direction: directionOf(engine), checked: false };
  },

  async model({ model }, context) {
    return { direction: model.direction, checked: await loadModel(model, context) };
  },

  async url({ url }, context) {
    const base = url.endsWith('/') ? url : `${url}/`;
    const [manifest, engine] = await Promise.all(
      ['manifest.conf', 'engine.conf'].map((name) => textOf(new URL(name, base), context.signal)));
    context.take('manifest.conf', new TextEncoder().encode(manifest));
    const model = parseManifest(manifest, engine, base);
    return { direction: model.direction, checked: await loadModel(model, context) };
  },
};

function directionOf(engine) {
  return /^\[direction\]\n(.*)$/m.exec(engine)?.[1] ?? '';
}

/**
 * Reads a model's files.
 * @param source what Translator.open made of its first argument
 * @param context {store: kind, signal, take(name, bytes), report({progress} or {warning})}
 * @returns {Promise<{direction: string, checked: boolean}>}
 */
export function loadFiles(source, context) {
  return sources[source.kind](source, { ...context, store: openStore(context.store) });
}
