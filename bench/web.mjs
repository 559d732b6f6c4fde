// What the WebAssembly module costs beside the native command, in one run:
//   node bench/web.mjs KORA MODEL TEXT [MODEL TEXT]...
// KORA is the native command of preset release; the package is that of preset wasm. The native
// command and the module take turns, and the median of the rounds is printed.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import process from 'node:process';
import { brotliCompressSync, constants } from 'node:zlib';

const pack = new URL('../build/wasm/package/', import.meta.url);
const { Translator } = await import(new URL('src/index.js', pack));
const [command, ...rest] = process.argv.slice(2);
if (rest.length < 2) {
  process.stderr.write('usage: node bench/web.mjs KORA MODEL TEXT [MODEL TEXT]...\n');
  process.exit(2);
}
const kRounds = 3;
const median = (list) => [...list].sort((a, b) => a - b)[list.length >> 1];
const now = () => performance.now() / 1000;

const wasm = readFileSync(new URL('kora.wasm', pack));
const brotli = brotliCompressSync(wasm, {
  params: { [constants.BROTLI_PARAM_SIZE_HINT]: wasm.length },
});
console.log(`module: ${wasm.length} bytes, ${brotli.length} brotli`);

const pairs = [];
for (let i = 0; i + 1 < rest.length; i += 2) pairs.push([rest[i], rest[i + 1]]);
for (const [model, file] of pairs) {
  const text = readFileSync(file, 'utf8').trimEnd();
  const lines = text.split('\n');
  const native = [];
  const module = [];
  const opening = [];
  for (let round = 0; round < kRounds; ++round) {
    const run = (input) => {
      const begin = now();
      const output = execFileSync(
        command, ['translate', '--model', model], { input, encoding: 'utf8', maxBuffer: 1 << 28 });
      return { output, seconds: now() - begin };
    };
    const start = run('').seconds; // of the process and its model alone
    const { output, seconds } = run(text);
    native.push(seconds - start);
    const translator = await Translator.open(model, { check: false });
    opening.push(translator.openingTime);
    const begin = now();
    const results = await translator.translate(lines);
    module.push(now() - begin);
    assert.equal(`${results.map((result) => result.text).join('\n')}\n`, output, 'the same bytes');
    if (round === 0) {
      console.log(`${model}: ${lines.length} lines, the same bytes; memory of the module ` +
        `${(translator.memory / 1e6).toFixed(1)} MB`);
    }
    translator.close();
  }
  const [a, b] = [median(native), median(module)];
  const characters = [...text].length;
  console.log(`  opened in ${median(opening).toFixed(0)} ms; native ${a.toFixed(2)} s, ` +
    `module ${b.toFixed(2)} s (${((100 * a) / b).toFixed(0)} % of native); ` +
    `${Math.round(text.split(/\s+/).length / b)} words between blanks, ` +
    `${Math.round(characters / b)} characters a second`);
}

const before = process.memoryUsage.rss();
const open = [];
for (let i = 0; i < 4; ++i) open.push(await Translator.open(pairs[i % pairs.length][0], { check: false }));
for (const translator of open) await translator.translate('a');
const sum = open.reduce((total, translator) => total + translator.memory, 0);
console.log(`four models: ${(sum / 1e6).toFixed(0)} MB in modules; the process grew by ` +
  `${((process.memoryUsage.rss() - before) / 1e6).toFixed(0)} MB`);
open.forEach((translator) => translator.close());
