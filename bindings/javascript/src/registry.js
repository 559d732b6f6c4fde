// Registries: JSON files that say which models a site has.
//   { "format": 1, "models": [ { "direction": "en-zh", "url": "en-zh/", "size": 26512345,
//       "files": [ { "name": "lm", "size": 11224688, "sha256": "8d00..." }, ... ] }, ... ] }
// Addresses are relative to the registry's own. Everything is checked before it is used.
import { KoraError } from './errors.js';

const kLargest = 2 ** 31;

function need(holds, what) {
  if (!holds) throw new KoraError('bad-registry', `the model registry is broken: ${what}`);
}

function readModel(model, base) {
  need(model && typeof model === 'object', 'a model is no object');
  need(/^[a-z]+-[a-z]+$/.test(model.direction), 'a model without a direction');
  need(Array.isArray(model.files) && model.files.length > 0, `${model.direction}: no files`);
  const names = new Set();
  const files = model.files.map(({ name, size, sha256 }) => {
    need(typeof name === 'string' && /^[\w.-]+$/.test(name) && !name.startsWith('.'),
      `${model.direction}: a file of the name ${JSON.stringify(name)}`);
    need(!names.has(name), `${model.direction}: two files of the name ${name}`);
    names.add(name);
    need(Number.isInteger(size) && size >= 0 && size < kLargest, `${name}: a wrong size`);
    need(typeof sha256 === 'string' && /^[0-9a-f]{64}$/.test(sha256), `${name}: no SHA-256`);
    return { name, size, sha256 };
  });
  return {
    direction: model.direction,
    url: new URL(model.url ?? `${model.direction}/`, base).href,
    size: files.reduce((sum, file) => sum + file.size, 0),
    files,
  };
}

/** The models of a registry's JSON text. `base` is its address. Throws bad-registry. */
export function parseRegistry(text, base) {
  let json;
  try {
    json = JSON.parse(text);
  } catch (error) {
    throw new KoraError('bad-registry', `the model registry is no JSON: ${error.message}`);
  }
  need(json?.format === 1, 'not of format 1');
  need(Array.isArray(json.models), 'no list of models');
  return json.models.map((model) => readModel(model, base));
}

/** The model that a folder's manifest.conf and engine.conf describe. Throws bad-manifest. */
export function parseManifest(manifest, engine, base) {
  const section = (text, name) => {
    const lines = text.split('\n');
    const from = lines.indexOf(name);
    const rest = from < 0 ? [] : lines.slice(from + 1);
    const end = rest.indexOf('');
    return end < 0 ? rest : rest.slice(0, end);
  };
  const files = section(manifest, '[files]').map((line) => {
    const parts = /^([0-9a-f]{64}) (\d+) ([\w.-]+)$/.exec(line);
    if (!parts) throw new KoraError('bad-manifest', `manifest.conf: '${line}' is no file`);
    return { name: parts[3], size: Number(parts[2]), sha256: parts[1] };
  });
  if (files.length === 0) throw new KoraError('bad-manifest', 'manifest.conf: no files');
  return {
    direction: section(engine, '[direction]')[0] ?? '',
    url: new URL('./', base).href,
    size: files.reduce((sum, file) => sum + file.size, 0),
    files,
  };
}
