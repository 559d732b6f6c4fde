// Translations of sentences, kept so that a text which changed a little costs what changed. The
// sentences are those that the engine sees; where one of them could not stand alone (markup, list
// marks, accelerators, tables) the line is translated in one piece.

const kKept = 5000; // sentences

const kEntangled = /[<&_\t\0]/;
const kLetter = /[\p{L}\p{N}]/u;
const kListMark = /^(?:[-*+>•◦‣·–—●■○]|#{1,6}|\d{1,3}[.)]|[A-Za-z]\))(?:[ \t]|$)/;
const kEastAsian = /[\u3000-\u30ff\u3400-\u4dbf\u4e00-\u9fff\uf900-\ufaff\uff00-\uffef]/;
const kWithBlanks = new Set(['en', 'ko', 'ar', 'ru']);

export class SentenceMemory {
  #engine;
  #hasBlanks;
  #kept = new Map(); // sentence to {text, links}

  /** @param {string} direction such as "en-zh" */
  constructor(engine, direction) {
    this.#engine = engine;
    this.#hasBlanks = kWithBlanks.has(direction.split('-')[1]);
  }

  /** Forgets all: to be called when the glossary changes. */
  clear() {
    this.#kept.clear();
  }

  /**
   * What engine.align gives for a text of some lines, and how many characters of it were
   * translated now.
   */
  align(text) {
    const whole = { text: '', links: [], translated: 0 };
    let begin = 0;
    for (const [i, line] of text.split('\n').entries()) {
      if (i > 0) whole.text += '\n';
      this.#alignLine(line, begin, whole);
      begin += line.length + 1;
    }
    return whole;
  }

  #alignLine(line, begin, whole) {
    const start = whole.text.length;
    let end = 0; // of the piece before
    for (const piece of this.#pieces(line)) {
      const { text, links } = this.#alignPiece(line.slice(piece.start, piece.end), whole);
      if (whole.text.length > start && text !== '') {
        const joint = whole.text.at(-1) + text[0];
        if (this.#hasBlanks || !kEastAsian.test(joint)) {
          const gap = line.slice(end, piece.start);
          whole.text += ' '.repeat(Math.max(1, gap.split(' ').length - 1));
        }
      }
      const moved = (range, by) => ({ start: range.start + by, end: range.end + by });
      for (const { source, target } of links) {
        whole.links.push({
          source: moved(source, begin + piece.start),
          target: moved(target, whole.text.length),
        });
      }
      whole.text += text;
      end = piece.end;
    }
  }

  #alignPiece(text, whole) {
    let found = this.#kept.get(text);
    if (found) {
      this.#kept.delete(text); // and to the end, as the one used last
    } else {
      found = this.#engine.align(text);
      whole.translated += text.length;
      if (this.#kept.size >= kKept) this.#kept.delete(this.#kept.keys().next().value);
    }
    this.#kept.set(text, found);
    return found;
  }

  // The parts of a line that are translated by themselves, without the blanks between them; blanks
  // at its beginning and end belong to the first and the last.
  #pieces(line) {
    const all = [{ start: 0, end: line.length }];
    if (kEntangled.test(line)) return all;
    const pieces = [];
    for (const { source } of this.#engine.explain(line, 0).sentences) {
      const text = line.slice(source.start, source.end);
      const start = source.start + text.length - text.trimStart().length;
      if (text.trim() === '') continue;
      const last = pieces.at(-1);
      // "1." is no sentence.
      if (pieces.length === 1 && kListMark.test(line.slice(last.start, last.end).trim()) &&
          !/\s/.test(line.slice(last.start, last.end).trim())) {
        last.end = start + text.trim().length;
      } else {
        pieces.push({ start, end: start + text.trim().length });
      }
    }
    if (pieces.length < 2) return all;
    if (pieces.some(({ start, end }) => !kLetter.test(line.slice(start, end))) ||
        pieces.slice(1).some(({ start }) => kListMark.test(line.slice(start)))) {
      return all;
    }
    pieces[0].start = 0;
    pieces.at(-1).end = line.length;
    return pieces;
  }
}
