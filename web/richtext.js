// Rich text of untrusted origin, and where each character of it lies in the text that is sent to
// the engine. A unit is a block without blocks inside (a paragraph, an item, a cell): it is
// translated in one piece. Its pieces tie offsets of that text to the nodes of the page.

const kBlocks = new Set(
  ('P DIV LI UL OL H1 H2 H3 H4 H5 H6 BLOCKQUOTE PRE TABLE THEAD TBODY TFOOT TR TD TH DL DT DD ' +
   'FIGURE FIGCAPTION SECTION ARTICLE MAIN HEADER FOOTER ASIDE NAV ADDRESS HR').split(' '));
const kInline = new Set(
  'A B STRONG I EM U S CODE KBD SAMP VAR SUB SUP MARK SMALL Q CITE ABBR DEL INS BR'.split(' '));
const kDropped = new Set(
  ('SCRIPT STYLE TEMPLATE IFRAME OBJECT EMBED NOSCRIPT HEAD TITLE SVG MATH CANVAS VIDEO AUDIO ' +
   'SELECT TEXTAREA INPUT BUTTON').split(' '));

function safeAddress(address) {
  try {
    return ['http:', 'https:', 'mailto:'].includes(new URL(address, document.baseURI).protocol);
  } catch {
    return false;
  }
}

function createSafe(name, from) {
  const element = document.createElement(name);
  const address = name.toUpperCase() === 'A' ? from.getAttribute('href') : null;
  if (address && safeAddress(address)) {
    element.setAttribute('href', address);
    element.setAttribute('rel', 'noopener noreferrer');
  }
  return element;
}

// What of a foreign tree may enter the page: blocks, inline markup, text.
function copySafe(from, into, preformatted) {
  for (const node of from.childNodes) {
    if (node.nodeType === Node.TEXT_NODE) {
      const text = preformatted ? node.data : node.data.replace(/[ \t\r\n\f]+/g, ' ');
      if (text !== '') into.append(text);
    } else if (node.nodeType === Node.ELEMENT_NODE && !kDropped.has(node.tagName)) {
      const known = kBlocks.has(node.tagName) || kInline.has(node.tagName);
      const target = known ? createSafe(node.tagName, node) : into;
      copySafe(node, target, preformatted || node.tagName === 'PRE');
      if (known) into.append(target);
    }
  }
}

/** A fragment with the harmless parts of an HTML text. */
export function sanitize(html) {
  const parsed = new DOMParser().parseFromString(html, 'text/html');
  const fragment = document.createDocumentFragment();
  copySafe(parsed.body, fragment, false);
  // Between blocks, blanks mean nothing.
  const walker = document.createTreeWalker(fragment, NodeFilter.SHOW_TEXT);
  const blank = [];
  for (let node = walker.nextNode(); node; node = walker.nextNode()) {
    const beside = [node.previousSibling, node.nextSibling];
    if (node.data.trim() === '' && beside.some((n) => n && kBlocks.has(n.tagName))) blank.push(node);
  }
  blank.forEach((node) => node.remove());
  return fragment;
}

/** A fragment with a paragraph for each line. */
export function paragraphs(text) {
  const fragment = document.createDocumentFragment();
  for (const line of text.replace(/\r\n?/g, '\n').split('\n')) {
    const p = document.createElement('p');
    if (line === '') p.append(document.createElement('br'));
    else p.append(line);
    fragment.append(p);
  }
  return fragment;
}

const kEscapes = { '&': '&amp;', '<': '&lt;', '>': '&gt;', '\u00a0': '&nbsp;' };

// The text of inline nodes with the offsets of its characters; as HTML when there is markup in it.
function readInline(nodes) {
  const state = { text: '', pieces: [], rich: false };
  const hasMarkup = (node) => node.nodeType === Node.ELEMENT_NODE && node.tagName !== 'BR';
  state.rich = nodes.some(hasMarkup);
  const visit = (node) => {
    if (node.nodeType === Node.TEXT_NODE) {
      const piece = { node, start: state.text.length, offsets: null };
      if (state.rich && /[&<>\u00a0]/.test(node.data)) {
        piece.offsets = [];
        for (const c of node.data.split('')) {
          piece.offsets.push(state.text.length);
          state.text += kEscapes[c] ?? c;
        }
        piece.offsets.push(state.text.length);
      } else {
        state.text += node.data;
      }
      state.pieces.push(piece);
    } else if (node.tagName === 'BR') {
      state.text += state.rich ? '<br>' : '\n';
    } else if (node.nodeType === Node.ELEMENT_NODE) {
      const name = node.tagName.toLowerCase();
      const address = node.getAttribute('href');
      const shown = address?.replace(/[&"<>]/g, (c) => `&#${c.charCodeAt(0)};`);
      if (kInline.has(node.tagName)) state.text += `<${name}${shown ? ` href="${shown}"` : ''}>`;
      node.childNodes.forEach(visit);
      if (kInline.has(node.tagName)) state.text += `</${name}>`;
    }
  };
  nodes.forEach(visit);
  return state;
}

/**
 * The units of an editor in order: {text, rich, pieces, block}. `block` is the name of the element
 * that holds the unit.
 */
export function readUnits(root) {
  const units = [];
  const visit = (element, block) => {
    let inline = [];
    const flush = () => {
      if (inline.length > 0) {
        const { text, rich, pieces } = readInline(inline);
        if (text.trim() !== '') units.push({ text, rich, pieces, block, nodes: inline });
      }
      inline = [];
    };
    for (const node of element.childNodes) {
      if (node.nodeType === Node.ELEMENT_NODE && kBlocks.has(node.tagName)) {
        flush();
        visit(node, node.tagName);
      } else if (node.nodeType === Node.ELEMENT_NODE || node.nodeType === Node.TEXT_NODE) {
        inline.push(node);
      }
    }
    flush();
  };
  visit(root, 'P');
  return units;
}

const kNamed = { amp: '&', lt: '<', gt: '>', quot: '"', apos: "'", nbsp: '\u00a0' };

function readEntity(text) {
  const found = /^&(?:#(\d{1,7})|#x([0-9a-f]{1,6})|([a-z]{2,5}));/i.exec(text);
  if (!found) return null;
  const code = found[1] ? Number(found[1]) : found[2] ? parseInt(found[2], 16) : 0;
  const character = found[3] ? kNamed[found[3].toLowerCase()]
    : code > 0 && code <= 0x10ffff ? String.fromCodePoint(code) : undefined;
  return character === undefined ? null : { character, size: found[0].length };
}

/** Draws a translation into an element; gives its pieces. Only inline markup gets in. */
export function draw(element, text, rich) {
  element.replaceChildren();
  if (!rich) {
    const node = document.createTextNode(text);
    element.append(node);
    return [{ node, start: 0, offsets: null }];
  }
  const pieces = [];
  const open = [element];
  let run = '';
  let offsets = [];
  const flush = (end) => {
    if (run === '') return;
    offsets.push(end);
    const node = document.createTextNode(run);
    open.at(-1).append(node);
    pieces.push({ node, start: offsets[0], offsets });
    run = '';
    offsets = [];
  };
  for (let at = 0; at < text.length; ) {
    const tag = text[at] === '<' ? /^<(\/?)([a-z][a-z0-9]*)((?:"[^"]*"|'[^']*'|[^>"'])*)>/i.exec(text.slice(at, at + 4000)) : null;
    if (tag) {
      flush(at);
      const name = tag[2].toUpperCase();
      if (name === 'BR') {
        open.at(-1).append(document.createElement('br'));
      } else if (kInline.has(name) && !tag[1]) {
        const template = new DOMParser().parseFromString(tag[0], 'text/html').body.firstElementChild;
        const child = createSafe(name, template ?? document.createElement('i'));
        open.at(-1).append(child);
        open.push(child);
      } else if (tag[1]) {
        const depth = open.findLastIndex((one, i) => i > 0 && one.tagName === name);
        if (depth > 0) open.length = depth;
      }
      at += tag[0].length;
      continue;
    }
    const entity = text[at] === '&' ? readEntity(text.slice(at, at + 12)) : null;
    for (let i = 0; i < (entity?.character.length ?? 1); ++i) offsets.push(at);
    run += entity?.character ?? text[at];
    at += entity?.size ?? 1;
  }
  flush(text.length);
  return pieces;
}

/** The offset in the unit's text of a place in one of its nodes. */
export function offsetAt(pieces, node, index) {
  const piece = pieces.find((one) => one.node === node);
  if (!piece) return -1;
  return piece.offsets ? piece.offsets[Math.min(index, piece.offsets.length - 1)]
    : piece.start + index;
}

/** Ranges of the page that show the characters [start, end) of the unit's text. */
export function rangesOf(pieces, start, end) {
  const ranges = [];
  for (const { node, start: first, offsets } of pieces) {
    if (!node.isConnected) continue;
    let from = start - first;
    let to = end - first;
    if (offsets) {
      from = offsets.findIndex((offset) => offset >= start);
      to = offsets.findIndex((offset) => offset >= end);
      if (from < 0) continue;
      if (to < 0) to = node.length;
    }
    from = Math.max(0, from);
    to = Math.min(node.length, to);
    if (from >= to) continue;
    const range = document.createRange();
    range.setStart(node, from);
    range.setEnd(node, to);
    ranges.push(range);
  }
  return ranges;
}
