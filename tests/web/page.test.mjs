// The page in a real Chromium: what a reader does with it, and everything that may go wrong.
// KORA_SITE is an exported site with the tests' models en-zh and zh-en, KORA_ARTIFACTS where the
// screenshots go, KORA_COMMAND and KORA_BOOK as in tests/javascript.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import process from 'node:process';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { launch } from './browser.mjs';
import { serve } from './serve.mjs';

const { KORA_SITE: folder, KORA_COMMAND: command, KORA_BOOK: book } = process.env;
const artifacts = process.env.KORA_ARTIFACTS ?? 'artifacts';
mkdirSync(artifacts, { recursive: true });
const axe = readFileSync(createRequire(import.meta.url).resolve('axe-core'), 'utf8');

const native = (model, input, ...options) => execFileSync(
  command, ['translate', '--model', join(book, model), ...options],
  { input, encoding: 'utf8' }).trimEnd();

let site;
before(async () => {
  site = await serve(folder);
});
after(() => site.close());

// Opens the page in a fresh profile, runs a test with it, and sees to it that nothing went wrong
// unseen: no uncaught error, nothing asked of another host.
async function withPage(options, run) {
  const browser = await launch({ viewport: { width: 1280, height: 800 }, ...options });
  const problems = [];
  const { context } = browser;
  context.on('page', (page) => page.on('pageerror', (error) => problems.push(String(error))));
  context.on('request', (request) => {
    const url = new URL(request.url());
    if (/^http/.test(url.protocol) && url.host !== new URL(site.url).host) problems.push(request.url());
  });
  try {
    context.setDefaultTimeout(30000);
    const page = await context.newPage();
    await run(page, context);
    assert.deepEqual(problems, []);
  } finally {
    site.restore();
    await browser.close();
  }
}

async function open(page) {
  await page.goto(site.url);
  await page.waitForFunction(() => document.querySelector('#target .unit')?.textContent);
}

async function write(page, text) {
  await page.locator('#source').fill(text);
}

const target = (page) => page.locator('#target').innerText();
async function targetIs(page, text) {
  await page.waitForFunction(
    (wanted) => document.getElementById('target').innerText.trim() === wanted, text);
}
async function noticeIs(page, pattern) {
  await page.locator('#notice').waitFor();
  assert.match(await page.locator('#notice-text').innerText(), pattern);
}

async function paste(page, data) {
  await page.evaluate((items) => {
    const source = document.getElementById('source');
    source.focus();
    document.getSelection().selectAllChildren(source);
    const clipboardData = new DataTransfer();
    for (const [type, text] of Object.entries(items)) clipboardData.setData(type, text);
    source.dispatchEvent(new ClipboardEvent('paste', { clipboardData, bubbles: true, cancelable: true }));
  }, data);
}

// The middle of a character of the translation, on the screen.
function place(page, unit, character) {
  return page.evaluate(([i, c]) => {
    const walker = document.createTreeWalker(
      document.querySelectorAll('#target .unit')[i], NodeFilter.SHOW_TEXT);
    const range = document.createRange();
    range.setStart(walker.nextNode(), c);
    range.setEnd(walker.currentNode, c + 1);
    const box = range.getBoundingClientRect();
    return { x: box.x + box.width / 2, y: box.y + box.height / 2 };
  }, [unit, character]);
}
const marked = (page) => page.evaluate(() => [...CSS.highlights.get('kora-link')].map(String));

async function audit(page) {
  // What is still fading in has less contrast than it will have.
  await page.evaluate(() => Promise.all(document.getAnimations().map((a) => a.finished)));
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => window.axe.run());
  return violations.filter(({ impact }) => impact === 'serious' || impact === 'critical')
    .map(({ id, nodes }) => `${id}: ${nodes.map(({ html }) => html).join(' ')}`);
}

test('translates as one types, points at words, and offers other translations', () =>
  withPage({}, async (page) => {
    await open(page);
    const text = 'where is the station ?';
    await write(page, text);
    await targetIs(page, native('model', text));
    assert.equal(await page.locator('#to').inputValue(), 'zh');
    // Pointing.
    const spot = await place(page, 0, 0);
    await page.mouse.move(spot.x, spot.y);
    await page.waitForFunction(() => CSS.highlights.get('kora-link').size > 0);
    const [from, ...to] = await marked(page);
    assert.ok(text.includes(from) && (await target(page)).includes(to.join('')));
    await page.screenshot({ path: join(artifacts, 'pointing.png') });
    // Choosing.
    await write(page, 'station hotel hospital bank');
    await targetIs(page, native('model', 'station hotel hospital bank'));
    await page.mouse.click(spot.x, spot.y);
    await page.locator('#choices').waitFor();
    await page.screenshot({ path: join(artifacts, 'choices.png') });
    const other = page.locator('#choices-list button[aria-pressed=false]').first();
    const words = await other.locator('span').first().innerText();
    await other.click();
    assert.ok((await target(page)).includes(words));
    assert.ok(await page.locator('#choices').isHidden());
    // The other direction is found from the letters.
    await write(page, '谢谢。');
    await targetIs(page, native('full', '谢谢。'));
    assert.equal(await page.locator('#to').inputValue(), 'en');
    await page.locator('#swap').click();
    await page.waitForFunction(() => document.getElementById('to').value === 'zh');
    for (const id of ['cost-size', 'cost-memory', 'cost-open']) {
      assert.match(await page.locator(`#${id}`).innerText(), /^[\d.]+ (MB|ms)$/);
    }
  }));

test('only what changed is translated again', () =>
  withPage({}, async (page) => {
    await open(page);
    await paste(page, { 'text/plain': 'where is the bank ?\nthank you .\nwhere is the school ?' });
    const last = native('model', 'where is the school ?');
    await page.waitForFunction((wanted) =>
      [...document.querySelectorAll('#target .unit')].map((unit) => unit.textContent)[2] === wanted, last);
    await page.evaluate(() => {
      window.drawn = 0;
      new MutationObserver((changes) => {
        window.drawn += new Set(changes.map((change) => change.target)).size;
      }).observe(document.getElementById('target'), { childList: true, subtree: true });
    });
    const first = await page.locator('#target .unit').nth(0).evaluateHandle((unit) => unit);
    await page.locator('#source p').nth(1).click();
    await page.keyboard.press('End');
    await page.keyboard.type(' hello');
    const expected = native('model', 'thank you . hello');
    await page.waitForFunction(
      (wanted) => document.querySelectorAll('#target .unit')[1]?.textContent === wanted, expected);
    assert.ok(await first.evaluate((unit) => unit === document.querySelectorAll('#target .unit')[0]));
    const drawn = await page.evaluate(() => window.drawn);
    assert.ok(drawn < 20, `${drawn} elements were drawn`);
  }));

test('a sentence that stays is not translated again, and a glossary changes what it names', () =>
  withPage({}, async (page, context) => {
    await context.addInitScript(() => {
      const { Worker: Real } = window;
      window.translated = [];
      window.Worker = class extends Real {
        constructor(...args) {
          super(...args);
          this.addEventListener('message', ({ data }) => {
            if (data.value?.links) window.translated.push(data.value.translated);
          });
        }
      };
    });
    await open(page);
    const first = 'where is the bank ? ';
    await write(page, `${first.repeat(20)}thank you .`);
    await targetIs(page, native('model', `${first.repeat(20)}thank you .`));
    await page.evaluate(() => window.translated.splice(0));
    await page.locator('#source').focus();
    await page.keyboard.press('Control+Home');
    await page.keyboard.type('hello . ');
    await targetIs(page, native('model', `hello . ${first.repeat(20)}thank you .`));
    const counts = await page.evaluate(() => window.translated);
    assert.ok(Math.max(...counts) <= `hello . ${first}`.length, `${counts}`);

    await page.locator('#glossary-box summary').click();
    await page.locator('#glossary').fill('bank = 河岸\nno entry');
    const table = join(mkdtempSync(join(tmpdir(), 'kora-')), 'terms');
    writeFileSync(table, 'bank\t河岸\n');
    const wanted = native('model', `hello . ${first.repeat(20)}thank you .`, '--glossary', table);
    assert.ok(wanted.split('河岸').length === 21);
    await targetIs(page, wanted);
    assert.match(await page.locator('#glossary-report').innerText(), /1 entry, 1 not understood/);
    await page.reload(); // it is kept
    await write(page, 'where is the bank ?');
    await page.waitForFunction(() => /河岸/.test(document.getElementById('target').innerText));
  }));

test('works with the keyboard alone and without serious findings of axe, light and dark', async () => {
  for (const colorScheme of ['light', 'dark']) {
    await withPage({ colorScheme }, async (page) => {
      await open(page);
      assert.deepEqual(await audit(page), []);
      await page.locator('#target').focus();
      await page.keyboard.press('ArrowRight');
      await page.waitForFunction(() => /, from /.test(document.getElementById('live').textContent));
      await page.keyboard.press('Enter');
      await page.locator('#choices').waitFor();
      assert.deepEqual(await audit(page), []);
      await page.keyboard.press('ArrowDown');
      await page.keyboard.press('Escape');
      assert.ok(await page.locator('#target').evaluate((pane) => pane === document.activeElement));
      await page.locator('#glossary-box summary').click();
      assert.deepEqual(await audit(page), []);
      await page.screenshot({ path: join(artifacts, `desktop-${colorScheme}.png`), fullPage: true });
    });
  }
});

test('fits a phone', () =>
  withPage({ viewport: { width: 360, height: 740 }, deviceScaleFactor: 2, isMobile: true, hasTouch: true },
    async (page) => {
      await open(page);
      const { wide, small } = await page.evaluate(() => ({
        wide: document.documentElement.scrollWidth - innerWidth,
        small: [...document.querySelectorAll('button, select, summary')]
          .filter((element) => element.offsetParent && element.getBoundingClientRect().height < 30)
          .map((element) => element.id),
      }));
      assert.equal(wide, 0);
      assert.deepEqual(small, []);
      const spot = await place(page, 0, 0);
      await page.touchscreen.tap(spot.x, spot.y);
      await page.locator('#choices').waitFor();
      await page.screenshot({ path: join(artifacts, 'phone-choices.png') });
      await page.locator('#choices-close').click();
      await page.screenshot({ path: join(artifacts, 'phone.png'), fullPage: true });
    }));

test('works without a network after the first visit, also in a second tab', () =>
  withPage({}, async (page, context) => {
    await open(page);
    await write(page, 'thank you .');
    await targetIs(page, native('model', 'thank you .'));
    await page.evaluate(() => navigator.serviceWorker.ready);
    await page.waitForFunction(() => navigator.serviceWorker.controller !== null);
    await context.setOffline(true);
    site.change('', (response) => response.destroy()); // no answer to anything
    await page.reload();
    await write(page, 'where is the bank ?');
    await targetIs(page, native('model', 'where is the bank ?'));
    const second = await context.newPage();
    await second.goto(site.url);
    await write(second, 'where is the school ?');
    await targetIs(second, native('model', 'where is the school ?'));
    await write(page, 'hello');
    await targetIs(page, native('model', 'hello'));
    await page.waitForFunction(() => /off/.test(document.getElementById('cost-network').textContent));
    await context.setOffline(false);
  }));

test('says what is wrong with a damaged model and gets it again', () =>
  withPage({}, async (page) => {
    site.change('en-zh/lm', (response, bytes) => response.end(Buffer.alloc(bytes.length)));
    await page.goto(site.url);
    await noticeIs(page, /damaged or was changed/);
    await page.screenshot({ path: join(artifacts, 'damaged.png') });
    site.change('en-zh/lm', (response) => {
      response.statusCode = 404;
      response.end();
    });
    await page.locator('#retry').click();
    await noticeIs(page, /Could not download.*404/);
    site.restore();
    await page.locator('#retry').click();
    await page.waitForFunction(() => document.querySelector('#target .unit')?.textContent);
    assert.ok(await page.locator('#notice').isHidden());
    site.change('registry.json', (response) => response.end('{"format": 7}'));
    await page.goto(`${site.url}?again`);
    await noticeIs(page, /list of models is broken/);
  }));

test('a download can be cancelled and taken up again', () =>
  withPage({}, async (page) => {
    site.change('en-zh/lm', () => {}); // never answers
    await page.goto(site.url);
    await page.locator('#cancel-load').click();
    await page.locator('#get').waitFor();
    assert.match(await page.locator('#get').innerText(), /^Get the model \([\d.]+ MB\)$/);
    site.restore();
    await page.locator('#get').click();
    await page.waitForFunction(() => document.querySelector('#target .unit')?.textContent);
  }));

test('full storage is no obstacle', () =>
  withPage({}, async (page, context) => {
    const session = await context.newCDPSession(page);
    await session.send('Storage.overrideQuotaForOrigin', { origin: new URL(site.url).origin, quotaSize: 1 });
    await open(page);
    await noticeIs(page, /no room to keep the model/);
    await write(page, 'thank you .');
    await targetIs(page, native('model', 'thank you .'));
    await session.send('Storage.overrideQuotaForOrigin', { origin: new URL(site.url).origin });
    await page.reload(); // it is fetched again, and kept now
    await page.waitForFunction(() => document.querySelector('#target .unit')?.textContent);
    assert.ok(await page.locator('#notice').isHidden());
  }));

test('models can be kept in private files instead', () =>
  withPage({}, async (page, context) => {
    await page.goto(site.url);
    const run = () => page.evaluate(async () => {
      const { Registry, Translator } = await import('./engine/src/index.js');
      const registry = await Registry.open('models/registry.json');
      const model = registry.find('en-zh');
      const warnings = [];
      const options = { store: 'opfs', warning: ({ code }) => warnings.push(code) };
      const translator = await Translator.open(model, options);
      const { text } = await translator.translate('thank you .');
      translator.close();
      const kept = await registry.isStored(model, options);
      await (window.forgets && registry.remove(model, options));
      return [text, kept, ...warnings];
    });
    const text = native('model', 'thank you .');
    assert.deepEqual(await run(), [text, true]);
    site.change('models/en-zh/lm', (response) => response.destroy());
    await page.evaluate(() => {
      window.forgets = true;
    });
    assert.deepEqual(await run(), [text, true]); // without the network, and forgotten then
    site.restore();
    const session = await context.newCDPSession(page);
    await session.send('Storage.overrideQuotaForOrigin', { origin: new URL(site.url).origin, quotaSize: 1 });
    assert.deepEqual(await run(), [text, false, 'storage-full']);
  }));

test('a browser that cannot run it, or has no memory for it, says so', async () => {
  // Without a compiler, this browser has no WebAssembly.
  await withPage({ flags: ['--js-flags=--jitless'] }, async (page) => {
    await page.goto(site.url);
    await noticeIs(page, /cannot run the translator/);
    await page.screenshot({ path: join(artifacts, 'unsupported.png') });
  });
  // Eight megabytes hold the module, but not a model with a file of twenty.
  const padding = Buffer.alloc(20e6);
  writeFileSync(join(folder, 'models/en-zh/padding'), padding);
  try {
    await withPage({ flags: ['--js-flags=--wasm-max-mem-pages=128'] }, async (page) => {
      site.change('registry.json', (response, bytes) => {
        const registry = JSON.parse(bytes);
        const model = registry.models.find(({ direction }) => direction === 'en-zh');
        model.files.push({
          name: 'padding', size: padding.length, sha256: createHash('sha256').update(padding).digest('hex'),
        });
        model.size += padding.length;
        response.end(JSON.stringify(registry));
      });
      await page.goto(site.url);
      await noticeIs(page, /not enough memory for the model/);
      // The other model is smaller, and the page goes on with it.
      await write(page, '谢谢。');
      await targetIs(page, native('full', '谢谢。'));
    });
  } finally {
    rmSync(join(folder, 'models/en-zh/padding'));
  }
});

test('text from right to left', async () => {
  // A model of three Arabic phrases.
  const made = mkdtempSync(join(tmpdir(), 'kora-'));
  const phrases = [['thank you', 'شكرا لك'], ['good', 'صباح'], ['morning', 'الخير']];
  const words = phrases.flatMap(([, arabic]) => arabic.split(' '));
  writeFileSync(join(made, 'phrases'), phrases.map(
    ([english, arabic]) => `${english} ||| ${arabic} ||| 0.5 0.5 0.5 0.5\n`).join(''));
  writeFileSync(join(made, 'lm'), `\\data\\\nngram 1=${words.length + 2}\n\n\\1-grams:\n-1\t<s>\n-1\t</s>\n${
    words.map((word) => `-1\t${word}\n`).join('')}\n\\end\\\n`);
  execFileSync(command, ['pack', '--direction', 'en-ar', '--phrases', join(made, 'phrases'), '--lm',
    join(made, 'lm'), '--order', '1', '-o', join(made, 'en-ar')], { stdio: 'ignore' });
  const export_ = fileURLToPath(new URL('../../web/export.js', import.meta.url));
  execFileSync(process.execPath, [export_, process.env.KORA_PACKAGE, join(made, 'site'), join(made, 'en-ar')]);
  const left = site;
  site = await serve(join(made, 'site'));
  try {
    for (const [name, viewport] of [['desktop', { width: 1280, height: 800 }], ['phone', { width: 360, height: 740 }]]) {
      await withPage({ viewport }, async (page) => {
        await open(page);
        await write(page, 'good morning (thank you) 7');
        await page.waitForFunction(() => /شكرا/.test(document.getElementById('target').innerText));
        const { direction, right, inside } = await page.evaluate(() => {
          const pane = document.getElementById('target');
          const range = document.createRange();
          range.selectNodeContents(pane.querySelector('.unit').firstChild);
          const [text, box] = [range.getBoundingClientRect(), pane.getBoundingClientRect()];
          return {
            direction: getComputedStyle(pane).direction,
            right: box.right - text.right < text.left - box.left,
            inside: document.documentElement.scrollWidth <= innerWidth,
          };
        });
        assert.deepEqual({ direction, right, inside }, { direction: 'rtl', right: true, inside: true });
        assert.equal(await page.locator('#target').getAttribute('lang'), 'ar');
        const spot = await place(page, 0, 1);
        await page.mouse.move(spot.x, spot.y);
        await page.waitForFunction(() => CSS.highlights.get('kora-link').size > 0);
        assert.ok((await marked(page)).some((text) => 'good morning thank you'.includes(text)));
        assert.deepEqual(await audit(page), []);
        await page.screenshot({ path: join(artifacts, `arabic-${name}.png`) });
      });
    }
  } finally {
    await site.close();
    site = left;
    rmSync(made, { recursive: true });
  }
});

test('a worker that dies is started again', () =>
  withPage({}, async (page, context) => {
    await context.addInitScript(() => {
      const { Worker: Real } = window;
      window.workers = [];
      window.Worker = class extends Real {
        constructor(...args) {
          super(...args);
          window.workers.push(this);
        }
      };
    });
    await open(page);
    await page.evaluate(() => {
      const [worker] = window.workers;
      worker.terminate();
      worker.onerror(new ErrorEvent('error', { message: 'killed by the test' }));
    });
    await write(page, 'thank you .');
    await targetIs(page, native('model', 'thank you .'));
    assert.equal(await page.evaluate(() => window.workers.length), 2);
  }));

test('a megabyte of text keeps the page alive, and Stop stops', () =>
  withPage({}, async (page) => {
    await open(page);
    const lines = Array.from({ length: 22000 }, (_, i) => `where is the bank ? it is the number ${i} .`);
    const text = lines.join('\n');
    assert.ok(text.length > 900000);
    await paste(page, { 'text/plain': text });
    await page.waitForFunction(() => document.querySelectorAll('#target .unit').length > 20000,
      null, { timeout: 60000 });
    await page.locator('#stop').click({ timeout: 60000 });
    await page.waitForFunction(() => document.getElementById('busy').textContent === 'stopped',
      null, { timeout: 60000 });
    const answered = await page.evaluate(async () => {
      const asked = performance.now();
      await new Promise((resolve) => requestAnimationFrame(() => setTimeout(resolve)));
      return performance.now() - asked;
    });
    assert.ok(answered < 4000, `${answered} ms to the next frame`);
    const done = await page.evaluate(
      () => [...document.querySelectorAll('#target .unit')].filter((unit) => unit.textContent).length);
    assert.ok(done > 0 && done < 22000);
    await page.locator('#clear').click();
    await write(page, 'thank you .');
    await targetIs(page, native('model', 'thank you .'));
  }));

test('rich text keeps its markup and nothing else comes in', () =>
  withPage({}, async (page) => {
    await open(page);
    await paste(page, {
      'text/html': '<meta charset=utf-8><h2>thank you .</h2><p>where is the <b>bank</b> ? &amp; <script>document.title = "hacked"</script>' +
        '<img src=x onerror="document.title = \'hacked\'"></p><ul><li onclick="alert(1)">where is the school ?' +
        '<li><a href="javascript:alert(1)">thank you .</a></ul>',
      'text/plain': 'not this',
    });
    await page.waitForFunction(() => document.querySelectorAll('#target .unit').length === 4);
    const { html, blocks, title } = await page.evaluate(() => ({
      html: document.getElementById('source').innerHTML + document.getElementById('target').innerHTML,
      blocks: [...document.querySelectorAll('#target .unit')].map((unit) => unit.dataset.block),
      title: document.title,
    }));
    assert.deepEqual(blocks, ['H2', 'P', 'LI', 'LI']);
    await page.waitForFunction(() => /银行/.test(document.querySelector('#target b')?.textContent));
    assert.doesNotMatch(html, /script|onerror|onclick|<img/);
    assert.doesNotMatch(title, /hacked/);
    await page.waitForFunction(
      (wanted) => document.querySelector('#target [data-block=H2]').textContent === wanted,
      native('model', 'thank you .'));
    await page.locator('#copy').click();
    await page.waitForFunction(() => document.getElementById('copy').textContent === 'Copied');
    const copied = await page.evaluate(async () => {
      const [item] = await navigator.clipboard.read();
      return (await item.getType('text/html')).text();
    });
    assert.match(copied, new RegExp(`<h2>${native('model', 'thank you .')}</h2>`));
  }));

test('files come back translated', () =>
  withPage({}, async (page) => {
    await open(page);
    const text = 'where is the bank ?\nthank you .\n';
    await page.locator('#file').setInputFiles({
      name: 'letter.txt', mimeType: 'text/plain', buffer: Buffer.from(text),
    });
    const link = page.locator('#files a');
    await link.waitFor();
    assert.equal(await link.innerText(), 'letter.zh.txt');
    const download = page.waitForEvent('download');
    await link.click();
    const got = readFileSync(await (await download).path(), 'utf8');
    assert.equal(got.trimEnd(), native('model', text));
    await page.locator('#file').setInputFiles({
      name: 'picture.png', mimeType: 'image/png', buffer: Buffer.from('x'),
    });
    await noticeIs(page, /neither a text file nor an HTML file/);
  }));
