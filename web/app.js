// The page: reads the source pane in units, translates those that changed, and ties both panes
// together word by word.
import { KoraError } from './engine/src/index.js';
import { Choices } from './choices.js';
import { translateFile } from './files.js';
import { countWords, detect, isRightToLeft, nameOf } from './language.js';
import { Models } from './models.js';
import { draw, offsetAt, paragraphs, rangesOf, readUnits, sanitize } from './richtext.js';

const $ = (id) => document.getElementById(id);
const kDelay = 120; // milliseconds from a key to its translation
const kKept = 20000; // translations remembered
const kGroup = 200; // paragraphs
const kUndoable = 20000; // characters; pasting more is not undone by the browser
const kSample = 'Select the file that you want to open.\nYou can change the settings at any time. To save the document, click the button.\nPoint at a word to see where it came from.';

const source = $('source');
const target = $('target');
const models = new Models();
const known = new Map(); // key of a unit to its translation
const unitOf = new WeakMap(); // text node of the source, or element of the target, to its unit
let units = [];
let pairs = []; // {from, to} of the registry
let direction = null;
let run = null; // AbortController of the translation that goes on
let timer = 0;
const spent = { words: 0, seconds: 0 }; // on translation in this visit

// Messages -----------------------------------------------------------------------------------

const kAdvice = {
  'download-failed': 'Could not download: is the network on?',
  'digest-mismatch': 'A model file is damaged or was changed on its way.',
  'bad-model': 'The model cannot be used.',
  'bad-manifest': 'The model differs from its list of contents.',
  'bad-registry': 'The list of models is broken.',
  'no-memory': 'This device has not enough memory for the model.',
  'worker-died': 'The translator stopped and is started again.',
  crashed: 'The translator stopped and is started again.',
  unsupported: 'This browser cannot run the translator: it is too old, or was told not to run WebAssembly.',
  'storage-full': 'There is no room to keep the model: it works now, and must be downloaded again next time.',
  'storage-failed': 'The model could not be kept: it works now, and must be downloaded again next time.',
};

function notice(error, retry = null) {
  const advice = kAdvice[error.code];
  $('notice-text').textContent = advice ? `${advice} (${error.message})` : error.message;
  $('notice').classList.toggle('bad', error instanceof Error);
  $('notice').hidden = false;
  $('retry').hidden = retry === null;
  $('retry').onclick = () => {
    $('notice').hidden = true;
    retry();
  };
}
$('dismiss').onclick = () => {
  $('notice').hidden = true;
};

function say(text) {
  $('live').textContent = text;
}

const isAbort = (error) => error?.name === 'AbortError';
const megabytes = (bytes) => `${(bytes / 1e6).toFixed(bytes < 1e7 ? 1 : 0)} MB`;

// Directions ---------------------------------------------------------------------------------

function fill(select, codes, first) {
  const chosen = select.value;
  select.replaceChildren(...first, ...codes.map((code) => new Option(nameOf(code), code)));
  if ([...select.options].some((option) => option.value === chosen)) select.value = chosen;
}

function chooseDirection() {
  const detected = detect(source.textContent);
  const auto = $('from').value === '';
  let from = auto ? detected : $('from').value;
  if (!pairs.some((pair) => pair.from === from)) from = pairs[0]?.from;
  $('from').options[0].textContent = auto && detected && from === detected
    ? `${nameOf(from)} (found)` : 'Find the language';
  const targets = pairs.filter((pair) => pair.from === from).map((pair) => pair.to);
  fill($('to'), targets, []);
  const to = targets.includes($('to').value) ? $('to').value : targets[0];
  const next = from && to ? `${from}-${to}` : null;
  source.lang = from ?? '';
  source.dir = isRightToLeft(from) ? 'rtl' : 'auto';
  target.lang = to ?? '';
  target.dir = isRightToLeft(to) ? 'rtl' : 'ltr';
  $('swap').disabled = !pairs.some((pair) => pair.from === to && pair.to === from);
  direction = next;
}

$('from').onchange = $('to').onchange = () => {
  save();
  update();
};
$('swap').onclick = () => {
  const [from, to] = direction.split('-');
  const text = target.innerText.trim();
  $('from').value = to;
  chooseDirection();
  $('to').value = from;
  if (text !== '') source.replaceChildren(paragraphs(text));
  save();
  update();
};

// The model -----------------------------------------------------------------------------------

let loading = null;

function showProgress({ loaded, total }) {
  $('loading').hidden = false;
  $('progress').max = total;
  $('progress').value = loaded;
  $('progress-text').textContent = `${megabytes(loaded)} of ${megabytes(total)}`;
}

async function translator(wanted) {
  if (!models.isOpen(wanted)) {
    loading = new AbortController();
    say(`Loading ${nameOf(wanted.split('-')[0])} to ${nameOf(wanted.split('-')[1])}`);
  }
  try {
    const opened = await models.get(wanted, {
      signal: loading?.signal,
      progress: showProgress,
      warning: (warning) => notice(warning),
    });
    $('forget').hidden = false;
    await showCosts(opened);
    return opened;
  } finally {
    loading = null;
    $('loading').hidden = true;
  }
}
$('cancel-load').onclick = () => loading?.abort();

function offer(wanted) {
  const model = models.find(wanted);
  const [from, to] = wanted.split('-').map(nameOf);
  $('get').textContent = `Get ${from} to ${to} (${megabytes(model.size)})`;
  $('get').hidden = false;
  $('get').onclick = () => {
    $('get').hidden = true;
    translateAll();
  };
}

async function showCosts(opened) {
  $('version').textContent = opened.version;
  $('cost-size').textContent = megabytes(models.find(opened.direction).size);
  $('cost-open').textContent = `${Math.round(opened.openingTime)} ms`;
  $('cost-memory').textContent = megabytes(await models.memory());
  showNetwork();
}

function showNetwork() {
  $('cost-network').textContent = navigator.onLine ? 'not needed' : 'off, and not needed';
}
addEventListener('online', showNetwork);
addEventListener('offline', showNetwork);

// Translation ---------------------------------------------------------------------------------

function schedule() {
  clearTimeout(timer);
  timer = setTimeout(update, kDelay);
}

const glossary = () => $('glossary').value
  .split('\n')
  .map((line) => line.split(/\t|\s*=\s*/).map((part) => part.trim()))
  .filter((parts) => parts.length === 2 && parts[0] !== '' && parts[1] !== '');

const keyOf = (unit) => JSON.stringify([direction, unit.rich, $('glossary').value, unit.text]);

// Reads the source pane and keeps the elements of units that are still there.
function update() {
  clearTimeout(timer);
  chooseDirection();
  const before = new Map();
  for (const unit of units) {
    const list = before.get(unit.key) ?? [];
    list.push(unit);
    before.set(unit.key, list);
  }
  units = readUnits(source).map((fresh) => {
    const key = keyOf(fresh);
    const old = before.get(key)?.shift();
    const unit = old ? Object.assign(old, { pieces: fresh.pieces, nodes: fresh.nodes }) : {
      ...fresh, key, result: null, element: document.createElement('div'), drawn: [],
    };
    for (const { node } of unit.pieces) unitOf.set(node, unit);
    if (!old) {
      unitOf.set(unit.element, unit);
      unit.element.className = 'unit';
      unit.element.dataset.block = unit.block;
      if (known.has(key)) show(unit, known.get(key));
    }
    return unit;
  });
  arrange(units.map(({ element }) => element));
  const length = source.textContent.length;
  $('count').textContent = length > 0 ? `${length.toLocaleString('en')} characters` : '';
  link(null);
  translateAll();
}

// Makes `elements` the children of `parent`. Only what differs is moved, so that one changed
// paragraph of many costs one step.
function reconcile(parent, elements) {
  let at = parent.firstChild;
  for (const element of elements) {
    if (at === element) at = at.nextSibling;
    else parent.insertBefore(element, at);
  }
  while (at) {
    const next = at.nextSibling;
    at.remove();
    at = next;
  }
}

// Long texts are put up in groups, of which browsers lay out those that are seen.
const groups = [];
function arrange(elements) {
  if (elements.length <= 2 * kGroup) {
    reconcile(target, elements);
    return;
  }
  const count = Math.ceil(elements.length / kGroup);
  while (groups.length < count) groups.push(document.createElement('div'));
  for (let i = 0; i < count; ++i) {
    reconcile(groups[i], elements.slice(i * kGroup, (i + 1) * kGroup));
  }
  reconcile(target, groups.slice(0, count));
}

function show(unit, result) {
  unit.result = result;
  unit.element.classList.remove('waiting', 'failed');
  unit.drawn = draw(unit.element, result.text, unit.rich);
}

async function translateAll() {
  run?.abort();
  const pending = units.filter((unit) => unit.result === null);
  $('stop').hidden = true;
  $('busy').textContent = '';
  if (pending.length === 0 || direction === null) return;
  const control = new AbortController();
  run = control;
  const { signal } = control;
  const wanted = direction;
  try {
    if (!models.isOpen(wanted) && navigator.connection?.saveData && $('get').hidden &&
        !(await models.isStored(wanted))) {
      return offer(wanted);
    }
    $('get').hidden = true;
    const engine = await translator(wanted);
    if (signal.aborted) return;
    await translateUnits(engine, pending, signal);
  } catch (error) {
    if (signal.aborted && signal.reason !== 'stop') return;
    if (isAbort(error) || signal.aborted) {
      offerRest(wanted);
    } else {
      notice(error, translateAll);
    }
  } finally {
    if (run === control) {
      run = null;
      $('stop').hidden = true;
    }
  }
}

async function translateUnits(engine, pending, signal) {
  const terms = glossary();
  const before = spent.words;
  let shownAt = performance.now();
  const slow = setTimeout(() => {
    if (!signal.aborted) $('stop').hidden = false;
  }, 400);
  try {
    for (const [i, unit] of pending.entries()) {
      let result = known.get(unit.key);
      if (!result) {
        const begin = performance.now();
        result = await engine.align(unit.text, {
          signal, format: unit.rich ? 'html' : 'text', glossary: terms, reuse: true,
        });
        spent.words += countWords(unit.text) * (result.translated / unit.text.length);
        spent.seconds += (performance.now() - begin) / 1000;
        if (known.size >= kKept) known.delete(known.keys().next().value);
        known.set(unit.key, result);
      }
      show(unit, result);
      const now = performance.now();
      if (now - shownAt > 100) {
        shownAt = now;
        $('busy').textContent = `${Math.floor((100 * i) / pending.length)} %`;
      }
    }
  } finally {
    clearTimeout(slow);
    if (!signal.aborted) $('busy').textContent = '';
  }
  if (spent.words > before && spent.words >= 20) {
    const rate = spent.words / spent.seconds;
    const rounded = Math.round(rate / 10) * 10;
    $('cost-speed').textContent = `${(rounded || Math.round(rate)).toLocaleString('en')} words a second`;
  }
  $('cost-memory').textContent = megabytes(await models.memory());
  say(units.length < 6 ? units.map(({ element }) => element.textContent).join(' ')
    : `${units.length} paragraphs are translated`);
  document.documentElement.dataset.state = 'ready';
}

function offerRest(wanted) {
  $('busy').textContent = 'stopped';
  const model = models.find(wanted);
  if (models.isOpen(wanted)) $('get').textContent = 'Go on';
  else $('get').textContent = `Get the model (${megabytes(model.size)})`;
  $('get').hidden = false;
  $('get').onclick = () => {
    $('get').hidden = true;
    translateAll();
  };
}

$('stop').onclick = () => run?.abort('stop');

// Input ---------------------------------------------------------------------------------------

source.addEventListener('input', schedule);
source.addEventListener('paste', (event) => {
  const html = event.clipboardData.getData('text/html');
  const text = event.clipboardData.getData('text/plain');
  if (html === '' && text === '') return;
  event.preventDefault();
  insert(html !== '' ? sanitize(html) : paragraphs(text));
});
source.addEventListener('drop', (event) => {
  if (event.dataTransfer.files.length > 0) return; // the page takes files
  event.preventDefault();
  const html = event.dataTransfer.getData('text/html');
  insert(html !== '' ? sanitize(html) : paragraphs(event.dataTransfer.getData('text/plain')));
});

function insert(fragment) {
  const size = fragment.textContent.length;
  const lone = fragment.childNodes.length === 1 && fragment.firstChild.tagName === 'P';
  const content = lone ? [...fragment.firstChild.childNodes] : [...fragment.childNodes];
  if (size <= kUndoable) {
    const holder = document.createElement('div');
    holder.append(...content);
    document.execCommand('insertHTML', false, holder.innerHTML);
  } else {
    const selection = getSelection();
    if (selection.rangeCount > 0 && source.contains(selection.anchorNode)) selection.deleteFromDocument();
    for (let i = 0; i < content.length; i += kGroup) {
      const group = document.createElement('div');
      group.append(...content.slice(i, i + kGroup));
      source.append(group);
    }
  }
  schedule();
}

$('clear').onclick = () => {
  source.replaceChildren();
  source.focus();
  update();
};

let checking = 0;
async function checkGlossary() {
  const asked = ++checking;
  const lines = $('glossary').value.split('\n').filter((line) => line.trim() !== '').length;
  const good = glossary().length;
  $('glossary-report').textContent = lines === 0 ? ''
    : `${good} ${good === 1 ? 'entry' : 'entries'}` + (good < lines ? `, ${lines - good} not understood` : '');
  if (good === 0 || direction === null || !models.isOpen(direction)) return;
  const never = await (await models.get(direction)).checkGlossary(glossary());
  if (asked === checking && never.length > 0) {
    $('glossary-report').textContent += `; these can never match: ${never.join('; ')}`;
  }
}

$('glossary').addEventListener('input', () => {
  save();
  checkGlossary().catch(notice);
  schedule();
});

// Words that belong together ------------------------------------------------------------------

const highlight = typeof Highlight === 'function' && CSS.highlights ? new Highlight() : null;
if (highlight) CSS.highlights.set('kora-link', highlight);

function link(found) {
  highlight?.clear();
  if (!found || !highlight) return;
  const { unit, links } = found;
  for (const one of links) {
    const ranges = [
      ...rangesOf(unit.pieces, one.source.start, one.source.end),
      ...rangesOf(unit.drawn, one.target.start, one.target.end),
    ];
    ranges.forEach((range) => highlight.add(range));
  }
}

function caretAt(x, y) {
  if (document.caretPositionFromPoint) {
    const caret = document.caretPositionFromPoint(x, y);
    return caret && { node: caret.offsetNode, index: caret.offset };
  }
  const range = document.caretRangeFromPoint?.(x, y);
  return range && { node: range.startContainer, index: range.startOffset };
}

// The unit and the links of the character at a point of the page; null where there is none.
function findAt(x, y) {
  const caret = caretAt(x, y);
  if (!caret || caret.node.nodeType !== Node.TEXT_NODE) return null;
  const inTarget = target.contains(caret.node);
  const unit = inTarget
    ? unitOf.get(caret.node.parentElement.closest('.unit')) : unitOf.get(caret.node);
  if (!unit?.result) return null;
  // The caret stands at the nearer side of a character: the point may be in the one before it.
  for (const index of [caret.index, caret.index - 1]) {
    if (index < 0 || index >= caret.node.length) continue;
    const range = document.createRange();
    range.setStart(caret.node, index);
    range.setEnd(caret.node, index + 1);
    const inside = [...range.getClientRects()].some(
      (box) => x >= box.left - 1 && x <= box.right + 1 && y >= box.top && y <= box.bottom);
    if (!inside) continue;
    const side = inTarget ? 'target' : 'source';
    const offset = offsetAt(inTarget ? unit.drawn : unit.pieces, caret.node, index);
    const links = unit.result.links.filter(
      (one) => offset >= one[side].start && offset < one[side].end);
    return links.length > 0 ? { unit, links } : null;
  }
  return null;
}

let pointed = 0;
for (const pane of [source, target]) {
  pane.addEventListener('pointermove', (event) => {
    cancelAnimationFrame(pointed);
    pointed = requestAnimationFrame(() => link(findAt(event.clientX, event.clientY)));
  });
  pane.addEventListener('pointerleave', () => {
    cancelAnimationFrame(pointed);
    link(null);
  });
}

// Other translations --------------------------------------------------------------------------

const choices = new Choices({
  explain: async (unit) => (await models.get(direction)).explain(plainOf(unit), { nbest: 5 }),
  replaced: (unit, result) => {
    known.set(unit.key, result);
    show(unit, result);
    link(null);
    say('The translation was changed');
  },
  failed: notice,
});

const plainOf = (unit) =>
  unit.rich ? unit.pieces.map((piece) => piece.node.data).join('') : unit.text;

target.addEventListener('click', (event) => {
  if (!getSelection().isCollapsed) return;
  const found = findAt(event.clientX, event.clientY);
  if (found) {
    link(found);
    choices.open(found.unit, found.links[0], event.clientX, event.clientY, target);
  }
});

let walked = { unit: 0, link: -1 };
target.addEventListener('keydown', (event) => {
  const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
  if (step === undefined && event.key !== 'Enter') return;
  const steps = units.flatMap((unit, i) => (unit.result?.links ?? []).map((_, k) => [i, k]));
  if (steps.length === 0) return;
  event.preventDefault();
  let at = steps.findIndex(([i, k]) => i === walked.unit && k === walked.link);
  if (step) at = Math.max(0, Math.min(steps.length - 1, at < 0 ? 0 : at + step));
  if (at < 0) return;
  walked = { unit: steps[at][0], link: steps[at][1] };
  const unit = units[walked.unit];
  const one = unit.result.links[walked.link];
  link({ unit, links: [one] });
  const ranges = rangesOf(unit.drawn, one.target.start, one.target.end);
  const from = rangesOf(unit.pieces, one.source.start, one.source.end).map(String).join(' ');
  const box = ranges[0]?.getBoundingClientRect();
  if (step) {
    say(`${ranges.map(String).join('')}, from ${from}`);
    unit.element.scrollIntoView({ block: 'nearest' });
  } else if (box) {
    choices.open(unit, one, box.left, box.bottom, target);
  }
});

// Out of the page -----------------------------------------------------------------------------

function targetHtml() {
  const copy = source.cloneNode(true);
  const originals = readUnits(source);
  readUnits(copy).forEach(({ nodes }, i) => {
    const unit = units[i];
    if (originals[i]?.text !== unit?.text) return;
    const holder = document.createElement('div');
    draw(holder, unit.result?.text ?? '', unit.rich);
    nodes[0].before(...holder.childNodes);
    nodes.forEach((node) => node.remove());
  });
  return copy.innerHTML;
}

$('copy').onclick = async () => {
  const text = units.map(({ element }) => element.innerText).join('\n');
  try {
    await navigator.clipboard.write([new ClipboardItem({
      'text/plain': new Blob([text], { type: 'text/plain' }),
      'text/html': new Blob([targetHtml()], { type: 'text/html' }),
    })]);
    say('Copied');
    $('copy').textContent = 'Copied';
  } catch (error) {
    notice(new Error(`The browser did not allow to copy: ${error.message}`));
  }
  setTimeout(() => {
    $('copy').textContent = 'Copy';
  }, 1500);
};

async function takeFiles(files) {
  for (const file of files) {
    await translateFile(file, $('files'), {
      engine: async (text) => {
        const found = detect(text);
        const pair = pairs.find((one) => one.from === found && one.to === $('to').value) ??
          pairs.find((one) => one.from === found);
        return translator(pair ? `${pair.from}-${pair.to}` : direction);
      },
      glossary: glossary(),
      failed: notice,
      say,
    });
  }
}
$('file').onchange = () => {
  takeFiles([...$('file').files]);
  $('file').value = '';
};
addEventListener('dragover', (event) => {
  if (![...event.dataTransfer.types].includes('Files')) return;
  event.preventDefault();
  $('drop').classList.add('over');
});
addEventListener('dragleave', () => $('drop').classList.remove('over'));
addEventListener('drop', (event) => {
  $('drop').classList.remove('over');
  if (event.dataTransfer.files.length === 0) return;
  event.preventDefault();
  takeFiles([...event.dataTransfer.files]);
});

// Setting up ----------------------------------------------------------------------------------

function save() {
  try {
    localStorage.setItem('kora-choice', JSON.stringify({
      from: $('from').value, to: $('to').value, glossary: $('glossary').value,
    }));
  } catch {
    // Storage may be forbidden or full: the choice holds for this visit.
  }
}

function restore() {
  try {
    const { from, to, glossary: terms } = JSON.parse(localStorage.getItem('kora-choice') ?? '{}');
    if (pairs.some((pair) => pair.from === from)) $('from').value = from;
    chooseDirection();
    if (to) $('to').value = to;
    if (terms) $('glossary').value = terms;
    $('glossary-box').open = Boolean(terms);
  } catch {
    // A broken note is as good as none.
  }
}

$('theme').onclick = () => {
  const root = document.documentElement;
  const dark = root.dataset.theme
    ? root.dataset.theme === 'dark' : matchMedia('(prefers-color-scheme: dark)').matches;
  root.dataset.theme = dark ? 'light' : 'dark';
  try {
    localStorage.setItem('kora-theme', root.dataset.theme);
  } catch {
    // as above
  }
};

$('forget').onclick = async () => {
  await models.forget();
  $('forget').hidden = true;
  notice({ message: 'The downloaded models were removed from this browser.' });
};

addEventListener('beforeinstallprompt', (event) => {
  event.preventDefault();
  $('install').hidden = false;
  $('install').onclick = () => event.prompt();
});
addEventListener('appinstalled', () => {
  $('install').hidden = true;
});

async function start() {
  document.execCommand('defaultParagraphSeparator', false, 'p');
  showNetwork();
  try {
    const list = await models.list();
    pairs = list.map((model) => {
      const [from, to] = model.direction.split('-');
      return { from, to };
    });
    if (pairs.length === 0) throw new KoraError('bad-registry', 'this site has no models');
  } catch (error) {
    notice(error, start);
    return;
  }
  fill($('from'), [...new Set(pairs.map((pair) => pair.from))], [new Option('Find the language', '')]);
  if (source.textContent === '') {
    if (pairs.some((pair) => pair.from === 'en')) source.replaceChildren(paragraphs(kSample));
  }
  restore();
  update();
}

if ('serviceWorker' in navigator) {
  navigator.serviceWorker.register('sw.js').catch((error) => {
    // The page works all the same, but not without a network.
    console.warn(`no service worker: ${error.message}`);
  });
}
start();
