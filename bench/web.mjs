// What the WebAssembly module costs beside the native command, in one run:
//   node bench/web.mjs [--write] KORA MODEL TEXT [MODEL TEXT]...
// KORA is the native command of preset release; the package is that of preset wasm (KORA_PACKAGE, else
// build/wasm/package). Command and module take turns on the same lines. What counts is user CPU time
// without the opening, and the median of the rounds' ratios. --write puts the table into docs/web.md.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import process from 'node:process';
import { pathToFileURL } from 'node:url';
import { brotliCompressSync, constants } from 'node:zlib';

const pack = process.env.KORA_PACKAGE
  ? pathToFileURL(`${process.env.KORA_PACKAGE}/`) : new URL('../build/wasm/package/', import.meta.url);
const args = process.argv.slice(2);
const write = args[0] === '--write';
if (write) args.shift();
const [command, ...rest] = args;
if (rest.length < 2 || rest.length % 2 !== 0 || !existsSync(new URL('kora.wasm', pack))) {
  process.stderr.write('usage: node bench/web.mjs [--write] KORA MODEL TEXT [MODEL TEXT]...\n' +
    'after cmake --preset wasm && cmake --build --preset wasm\n');
  process.exit(2);
}
const { Translator } = await import(new URL('src/index.js', pack));
const kRounds = 5;
const median = (list) => [...list].sort((a, b) => a - b)[list.length >> 1];

const lines = [];
const put = (line) => {
  console.log(line);
  lines.push(line);
};

const wasm = readFileSync(new URL('kora.wasm', pack));
const brotli = brotliCompressSync(wasm, {
  params: { [constants.BROTLI_PARAM_SIZE_HINT]: wasm.length },
});
put('| | |');
put('| --- | --- |');
put(`| module | ${wasm.length.toLocaleString('en')} bytes, ${brotli.length.toLocaleString('en')} with brotli |`);

// Output and user CPU seconds of the command; what time says comes last on standard error.
function run(model, input) {
  const { stdout, stderr, status } = spawnSync(
    'bash', ['-c', 'TIMEFORMAT=%U; time "$@"', 'bash', command, 'translate', '--threads', '1', '--model', model],
    { input, encoding: 'utf8', maxBuffer: 1 << 28 });
  assert.equal(status, 0, stderr);
  return { output: stdout, seconds: Number(stderr.trim().split('\n').at(-1)) };
}

const pairs = [];
for (let i = 0; i + 1 < rest.length; i += 2) pairs.push([rest[i], rest[i + 1]]);
for (const [model, file] of pairs) {
  const text = readFileSync(file, 'utf8').trimEnd();
  const inputs = text.split('\n');
  const [native, module, opening] = [[], [], []];
  let memory = 0;
  let direction = '';
  for (let round = 0; round < kRounds; ++round) {
    const start = run(model, '').seconds; // of the process and its model alone
    const { output, seconds } = run(model, text);
    native.push(seconds - start);
    const translator = await Translator.open(model, { check: false });
    opening.push(translator.openingTime);
    await translator.translate(inputs.slice(0, 3)); // until the module is compiled for speed
    const before = process.cpuUsage();
    const results = await translator.translate(inputs);
    module.push(process.cpuUsage(before).user / 1e6);
    assert.equal(`${results.map((result) => result.text).join('\n')}\n`, output, 'the same bytes');
    ({ memory, direction } = translator);
    translator.close();
  }
  const ratios = native.map((seconds, i) => seconds / module[i]);
  const words = text.split(/\s+/).length;
  const unit = words > 3 * inputs.length ? 'words' : 'characters';
  const units = unit === 'words' ? words : [...text].length;
  const rate = (seconds) => Math.round(units / seconds).toLocaleString('en');
  put(`| ${direction}: ${inputs.length} lines, the same bytes; ${unit} a second of CPU | ` +
    `native ${rate(median(native))}, module ${rate(median(module))}: ${(100 * median(ratios)).toFixed(0)} % |`);
  put(`| ${direction}: opening, files in memory | ${median(opening).toFixed(0)} ms |`);
  put(`| ${direction}: memory of the module after the text | ${(memory / 1e6).toFixed(1)} MB |`);
}

const before = process.memoryUsage.rss();
const open = [];
for (let i = 0; i < 4; ++i) {
  open.push(await Translator.open(pairs[i % pairs.length][0], { check: false }));
  await open[i].translate('a');
  if (i === 0 || i === 3) {
    const sum = open.reduce((total, translator) => total + translator.memory, 0);
    put(`| ${i === 0 ? 'one model' : 'four models'} open | ${(sum / 1e6).toFixed(0)} MB in modules, the ` +
      `process grew by ${((process.memoryUsage.rss() - before) / 1e6).toFixed(0)} MB |`);
  }
}
open.forEach((translator) => translator.close());

if (write) {
  const page = new URL('../docs/web.md', import.meta.url);
  const old = readFileSync(page, 'utf8');
  const mark = /(<!-- bench\/web.mjs --write -->\n)[^]*?(<!-- end -->)/;
  assert.match(old, mark);
  writeFileSync(page, old.replace(mark, (_, begin, end) => `${begin}${lines.join('\n')}\n${end}`));
}
