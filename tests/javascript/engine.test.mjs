// The package in Node: the same bytes as the command, offsets, cancelling, and every failure with
// its code. KORA_PACKAGE is the built package, KORA_COMMAND the native command, KORA_BOOK the folder
// that the tests of the command leave: models 'model' (en-zh) and 'full' (zh-en).
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { cpSync, mkdtempSync, readFileSync, readdirSync, rmSync, truncateSync, writeFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import test from 'node:test';
import { pathToFileURL } from 'node:url';

const { KORA_PACKAGE: pack, KORA_COMMAND: command, KORA_BOOK: book } = process.env;
const { KoraError, Registry, Translator } = await import(
  pathToFileURL(join(pack, 'src/index.js')).href);
const { decodeWithUnits } = await import(pathToFileURL(join(pack, 'src/offsets.js')).href);

const here = new URL('.', import.meta.url).pathname;
const kEnglish = join(book, 'model');
const kChinese = join(book, 'full');

const rows = readFileSync(join(here, '../cli/phrasebook.tsv'), 'utf8')
  .split('\n').filter((line) => line !== '' && !line.startsWith('#'))
  .map((line) => line.split('\t'));
const sentences = {
  [kEnglish]: rows.map((row) => row.find((text) => /^[\x20-\x7e]+$/.test(text)) ?? '')
    .filter((text) => text !== ''),
  [kChinese]: rows.map((row) => row.find((text) => /[\u4e00-\u9fff]/.test(text)) ?? '')
    .filter((text) => text !== ''),
};

const native = (model, input, ...options) =>
  execFileSync(command, ['translate', '--model', model, ...options], { input, encoding: 'utf8' });

// The blocks "$ translate -m MODEL" of the command's golden answers whose output is given exactly.
function goldens() {
  const blocks = readFileSync(join(here, '../cli/goldens.txt'), 'utf8').split(/^\$ /m).slice(1);
  return blocks.flatMap((block) => {
    const lines = block.split('\n');
    const model = /^translate -m (model|full)$/.exec(lines[0])?.[1];
    const take = (mark) => lines.filter((line) => line[0] === mark && line[1] !== '>')
      .map((line) => line.slice(2));
    return model && take('>').length > 0 ? [{ model, input: take('<'), output: take('>') }] : [];
  });
}

async function rejects(promise, code) {
  await assert.rejects(promise, (error) => {
    assert.equal(error.code ?? error.name, code, error.message);
    return true;
  });
}

const buffers = (folder) => Object.fromEntries(
  readdirSync(folder).map((name) => [name, readFileSync(join(folder, name))]));

test('the same bytes as the command, in both directions', async () => {
  assert.ok(sentences[kEnglish].length > 20 && sentences[kChinese].length > 20);
  for (const model of [kEnglish, kChinese]) {
    const translator = await Translator.open(model);
    const lines = sentences[model];
    const expected = native(model, lines.join('\n')).trimEnd().split('\n');
    const results = await translator.translate(lines);
    assert.deepEqual(results.map(({ text }) => text), expected);
    // Aligned text is the same text, and links lie inside both.
    for (const [i, { text, links }] of (await translator.align(lines)).entries()) {
      assert.equal(text, expected[i]);
      let end = 0;
      for (const { source, target } of links) {
        assert.ok(source.start >= 0 && source.end <= lines[i].length && source.start <= source.end);
        assert.ok(target.start >= end && target.end <= text.length && target.start <= target.end);
        end = target.end;
      }
    }
    translator.close();
  }
  for (const { model, input, output } of goldens()) {
    const translator = await Translator.open(join(book, model));
    const results = await translator.translate(input);
    assert.deepEqual(results.map(({ text }) => text), output, model);
    translator.close();
  }
});

test('n-best lists and explanations', async () => {
  const translator = await Translator.open(kEnglish);
  const sentence = sentences[kEnglish][0];
  const lines = native(kEnglish, sentence, '--nbest', '3').trimEnd().split('\n');
  const { alternatives } = await translator.translate(sentence, { nbest: 3 });
  assert.deepEqual(
    alternatives.map(({ text, score }) => [text, Number(score.toPrecision(6))]),
    lines.map((line) => line.split(' ||| ')).map(([text, score]) => [text, Number(score)]));
  const text = `😀 ${sentence}`;
  const explained = await translator.explain(text);
  const last = explained.sentences.at(-1);
  assert.ok(last.translations.length > 0 && last.phrases.length > 0);
  for (const { source } of last.phrases) {
    assert.ok(source.end <= text.length && !/^[\ud800-\udfff]$/.test(text.slice(source.start, source.end)));
  }
  translator.close();
});

test('offsets count UTF-16 units', () => {
  const of = (bytes) => {
    const { text, units } = decodeWithUnits(Uint8Array.from(bytes));
    return [text, ...units];
  };
  assert.deepEqual(of(Buffer.from('aé中😀')), ['aé中😀', 0, 1, 1, 2, 2, 2, 3, 3, 3, 3, 5]);
  assert.deepEqual(of([]), ['', 0]);
  for (const broken of [[0x61, 0xff, 0x62], [0xe4, 0xb8], [0x80], [0xf0, 0x9f, 0x98, 0x61], [0xed, 0xa0, 0x80]]) {
    const [text, ...units] = of(broken);
    assert.equal(text, new TextDecoder().decode(Uint8Array.from(broken)));
    assert.equal(units.at(-1), text.length);
    assert.deepEqual(units, [...units].sort((a, b) => a - b));
  }
});

test('a text that changed a little costs what changed', async () => {
  for (const [model, between] of [[kEnglish, ' '], [kChinese, '']]) {
    const translator = await Translator.open(model);
    const ended = sentences[model].filter((text) => /[.?!。？！]$/.test(text)).slice(0, 30);
    assert.ok(ended.length > 10);
    const whole = async (text, options) => {
      const { text: expected, links } = await translator.align(text, options);
      const found = await translator.align(text, { ...options, reuse: true });
      assert.deepEqual([found.text, found.links], [expected, links], text);
      return found.translated;
    };
    const paragraph = ended.join(between);
    assert.ok(await whole(`  ${paragraph} `) > paragraph.length / 2);
    const text = `${paragraph}\n\n${ended.slice(5).join(between)}`;
    await whole(text);
    assert.equal((await translator.align(text, { reuse: true })).translated, 0);
    const [first, second, ...rest] = ended;
    const changed = [first, `${second.slice(0, -1)} 7${second.slice(-1)}`, ...rest].join(between);
    const translated = await whole(changed);
    assert.ok(translated > 0 && translated < 0.2 * changed.length, `${translated} of ${changed.length}`);
    // What cannot be taken apart comes out as before, too.
    for (const odd of ['', ' ', `1. ${first} ${second}`, `- ${first}  ${second}`, `${first} - ${second}`,
      `${first} <b>${second}</b> ${first}`, `${first}\t${second}`, `&${first} ${second}`, '...', '. . .',
      `${first}   ${second}  `, `${first} %s {0} ${second}`, `😀 ${first} 😀 ${second}`]) {
      await whole(odd);
      await whole(odd);
    }
    const word = model === kEnglish ? first.split(' ')[0] : first.slice(0, 2);
    await whole(paragraph, { glossary: [[word, 'XYZ']] });
    await whole(paragraph);
    translator.close();
  }
});

test('long texts come out as one call would give them, and can be cancelled', async () => {
  const translator = await Translator.open(kEnglish);
  const line = sentences[kEnglish].slice(0, 6).join(' ');
  const long = Array.from({ length: 400 }, (_, i) => (i % 7 === 3 ? '' : line)).join('\n');
  const alone = (await translator.translate(line)).text;
  const seen = [];
  const whole = await translator.translate(long, { progress: ({ done }) => seen.push(done) });
  const expected = whole.text.includes('\n\n')
    ? long.split('\n').map((text) => (text === '' ? '' : alone)) : long.split('\n').filter(Boolean).map(() => alone);
  assert.equal(whole.text, expected.join('\n'));
  assert.ok(seen.length > 5 && seen.at(-1) === long.length);
  const aligned = await translator.align(long);
  assert.equal(aligned.text, whole.text);
  assert.ok(aligned.links.every(({ source }, i, all) => i === 0 || source.end <= long.length));

  const control = new AbortController();
  const others = [translator.translate('hello'), translator.translate('thank you')];
  const cancelled = translator.translate(long.repeat(20), { signal: control.signal });
  const after = translator.translate(line);
  setTimeout(() => control.abort(), 50);
  const begin = performance.now();
  await rejects(cancelled, 20); // DOMException.ABORT_ERR
  assert.ok(performance.now() - begin < 4000); // the whole takes far longer
  assert.equal((await after).text, alone);
  await Promise.all(others);
  await rejects(translator.translate('a', { signal: AbortSignal.abort() }), 20);
  // A call that waits behind another is cancelled without harm to that one.
  const first = translator.translate(long);
  const second = new AbortController();
  const waiting = translator.translate('hello', { signal: second.signal });
  second.abort();
  await rejects(waiting, 20);
  assert.equal((await first).text, whole.text);
  translator.close();
  await rejects(translator.translate('hello'), 'closed');
});

test('a sentence that cannot be interrupted ends with its worker, and the rest goes on', async () => {
  const translator = await Translator.open(kEnglish);
  const control = new AbortController();
  const endless = translator.translate(`${sentences[kEnglish][0]} `.repeat(60000), { signal: control.signal });
  const behind = translator.translate(sentences[kEnglish][0]);
  setTimeout(() => control.abort(), 100);
  await rejects(endless, 20);
  assert.equal(`${(await behind).text}\n`, native(kEnglish, sentences[kEnglish][0]));
  translator.close();
});

test('models from buffers, and damaged or missing files', async () => {
  const files = buffers(kEnglish);
  const translator = await Translator.open(files);
  assert.equal(translator.direction, 'en-zh');
  assert.ok(translator.memory > 1e6 && translator.openingTime >= 0);
  assert.equal(`${(await translator.translate('hello')).text}\n`, native(kEnglish, 'hello'));
  translator.close();

  const without = (name) => Object.fromEntries(Object.entries(files).filter(([key]) => key !== name));
  const flipped = { ...files, lm: Buffer.from(files.lm) };
  flipped.lm[flipped.lm.length >> 1] ^= 1;
  await rejects(Translator.open(without('engine.conf')), 'bad-direction');
  await rejects(Translator.open(without('engine.conf'), { direction: 'en-zh' }), 'bad-configuration');
  await rejects(Translator.open(without('lm')), 'bad-manifest');
  await rejects(Translator.open(without('lm'), { check: false }), 'bad-model');
  await rejects(Translator.open(flipped), 'bad-manifest');
  await rejects(Translator.open({ ...files, lm: files.lm.subarray(0, 100) }, { check: false }), 'bad-model');
  await rejects(Translator.open(files, { direction: 'xx-yy' }), 'bad-direction');
  await rejects(Translator.open(files, { direction: 'fr-zh' }), 'bad-direction');
  await rejects(Translator.open('/nowhere/at/all'), 'bad-model');
  await rejects(Translator.open(7), 'bad-argument');

  const broken = mkdtempSync(join(tmpdir(), 'kora-'));
  cpSync(kEnglish, broken, { recursive: true });
  truncateSync(join(broken, 'lm'), 1000);
  await rejects(Translator.open(broken), 'bad-manifest');
  rmSync(broken, { recursive: true });
});

test('registries and downloads', async () => {
  const folder = mkdtempSync(join(tmpdir(), 'kora-'));
  cpSync(kEnglish, join(folder, 'en-zh'), { recursive: true });
  cpSync(kChinese, join(folder, 'zh-en'), { recursive: true });
  writeFileSync(
    join(folder, 'registry.json'),
    execFileSync(process.execPath, [join(pack, 'src/registry-tool.js'), folder]));
  const change = new Map();
  const server = createServer((request, response) => {
    const path = request.url;
    try {
      const bytes = readFileSync(join(folder, path));
      const how = change.get(path);
      if (how) how(response, bytes);
      else response.end(bytes);
    } catch {
      response.writeHead(404).end();
    }
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const base = `http://127.0.0.1:${server.address().port}/`;
  try {
    const registry = await Registry.open(`${base}registry.json`);
    assert.deepEqual(registry.models.map(({ direction }) => direction), ['en-zh', 'zh-en']);
    const model = registry.find('zh-en');
    assert.equal(model.size, Object.values(buffers(kChinese)).reduce((sum, { length }) => sum + length, 0));
    const seen = [];
    const translator = await Translator.open(model, { progress: (step) => seen.push(step.loaded) });
    assert.equal(seen.at(-1), model.size);
    const sentence = sentences[kChinese][0];
    assert.equal(`${(await translator.translate(sentence)).text}\n`, native(kChinese, sentence));
    translator.close();
    const plain = await Translator.open(`${base}en-zh/`);
    assert.equal(plain.direction, 'en-zh');
    plain.close();

    change.set('/zh-en/lm', (response, bytes) => response.end(Buffer.alloc(bytes.length)));
    await rejects(Translator.open(model), 'digest-mismatch');
    change.set('/zh-en/lm', (response, bytes) => response.end(bytes.subarray(1)));
    await rejects(Translator.open(model), 'bad-model');
    change.set('/zh-en/lm', (response) => response.end(Buffer.alloc(1e7)));
    await rejects(Translator.open(model), 'bad-model');
    change.set('/zh-en/lm', (response) => response.writeHead(503).end());
    await rejects(Translator.open(model), 'download-failed');
    change.set('/zh-en/lm', (response, bytes) => {
      response.setHeader('Content-Length', bytes.length);
      response.write(bytes.subarray(0, 1));
      setTimeout(() => response.destroy(), 50);
    });
    await rejects(Translator.open(model), 'download-failed');
    change.set('/zh-en/lm', () => {}); // never answers
    const control = new AbortController();
    setTimeout(() => control.abort(), 100);
    await rejects(Translator.open(model, { signal: control.signal }), 20);
    change.clear();

    for (const text of ['', '[]', '{"format": 2, "models": []}', '{"format": 1}',
      '{"format": 1, "models": [{"direction": "en-zh", "files": [{"name": "../x", "size": 1, "sha256": ""}]}]}',
      '{"format": 1, "models": [{"direction": "en-zh", "files": []}]}']) {
      change.set('/registry.json', (response) => response.end(text));
      await rejects(Registry.open(`${base}registry.json`), 'bad-registry');
    }
    await rejects(Registry.open(`${base}none.json`), 'download-failed');
  } finally {
    server.closeAllConnections();
    server.close();
    rmSync(folder, { recursive: true });
  }
  await rejects(Registry.open(`${base}registry.json`), 'download-failed');
});

test('many translators side by side', async () => {
  const translators = await Promise.all(
    [kEnglish, kChinese, kEnglish, kChinese].map((model) => Translator.open(model)));
  const results = await Promise.all(translators.map((translator, i) =>
    translator.translate(sentences[i % 2 === 0 ? kEnglish : kChinese].slice(0, 20))));
  assert.deepEqual(results[0], results[2]);
  assert.deepEqual(results[1], results[3]);
  translators.forEach((translator) => translator.close());
  assert.ok(new KoraError('a', 'b') instanceof Error);
});
