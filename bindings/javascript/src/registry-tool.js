#!/usr/bin/env node
// Writes the registry of a folder whose folders are models: kora-registry FOLDER > registry.json
import { createHash } from 'node:crypto';
import { readFileSync, readdirSync, statSync } from 'node:fs';
import { join } from 'node:path';
import process from 'node:process';

const [folder] = process.argv.slice(2);
if (!folder) {
  process.stderr.write('usage: kora-registry FOLDER\n');
  process.exit(2);
}

function readModel(name) {
  const path = join(folder, name);
  const direction = /^\[direction\]\n(.+)$/m.exec(readFileSync(join(path, 'engine.conf'), 'utf8'))?.[1];
  if (!direction) throw new Error(`${path}/engine.conf: no [direction]`);
  const files = readdirSync(path).sort().map((file) => {
    const bytes = readFileSync(join(path, file));
    return {
      name: file,
      size: bytes.length,
      sha256: createHash('sha256').update(bytes).digest('hex'),
    };
  });
  return {
    direction,
    url: `${encodeURIComponent(name)}/`,
    size: files.reduce((sum, file) => sum + file.size, 0),
    files,
  };
}

const models = readdirSync(folder)
  .filter((name) => statSync(join(folder, name)).isDirectory())
  .sort()
  .map(readModel);
process.stdout.write(`${JSON.stringify({ format: 1, models }, null, 1)}\n`);
