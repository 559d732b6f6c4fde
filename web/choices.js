// The box with other translations of a phrase and of its sentence.

const kMargin = 12; // pixels to the edge of the window

const escapeHtml = (text) =>
  text.replaceAll('&', '&amp;').replaceAll('<', '&lt;').replaceAll('>', '&gt;');

// The result with the characters [start, end) of its text replaced, links included.
function spliced(result, start, end, text) {
  const by = text.length - (end - start);
  const moved = (offset) => (offset <= start ? offset : offset >= end ? offset + by : start);
  const links = [];
  for (const { source, target } of result.links) {
    const inside = target.start >= start && target.end <= end && target.start < target.end;
    if (!inside) {
      links.push({ source, target: { start: moved(target.start), end: moved(target.end) } });
    } else if (links.at(-1)?.replaced) {
      const { source: joined } = links.at(-1);
      joined.start = Math.min(joined.start, source.start);
      joined.end = Math.max(joined.end, source.end);
    } else {
      links.push({
        source: { ...source }, target: { start, end: start + text.length }, replaced: true,
      });
    }
  }
  return { text: result.text.slice(0, start) + text + result.text.slice(end), links };
}

export class Choices {
  #box = document.getElementById('choices');
  #list = document.getElementById('choices-list');
  #hooks;
  #back = null;
  #asked = 0;

  /** @param hooks {explain(unit), replaced(unit, result), failed(error)} */
  constructor(hooks) {
    this.#hooks = hooks;
    document.getElementById('choices-close').onclick = () => this.close();
    this.#box.addEventListener('keydown', (event) => this.#key(event));
    document.addEventListener('pointerdown', (event) => {
      if (!this.#box.hidden && !this.#box.contains(event.target)) this.close(false);
    });
  }

  async open(unit, link, x, y, back) {
    const asked = ++this.#asked;
    let explained;
    try {
      explained = await this.#hooks.explain(unit);
    } catch (error) {
      this.#hooks.failed(error);
      return;
    }
    if (asked !== this.#asked) return;
    this.#back = back;
    this.#list.replaceChildren(...this.#rows(unit, link, explained));
    this.#box.hidden = false;
    const { width, height } = this.#box.getBoundingClientRect();
    const put = (at, size, room) => `${Math.max(kMargin, Math.min(at, room - size - kMargin))}px`;
    this.#box.style.left = put(x - 20, width, innerWidth);
    this.#box.style.top = put(y + 14, height, innerHeight);
    (this.#list.querySelector('button:not(:disabled)') ?? document.getElementById('choices-close')).focus();
  }

  close(giveBack = true) {
    this.#box.hidden = true;
    if (giveBack) this.#back?.focus({ preventScroll: true });
  }

  // Where a range of the unit's text lies in its plain text.
  #plain(unit, { start, end }) {
    if (!unit.rich) return { start, end };
    let length = 0;
    const found = { start: -1, end: -1 };
    for (const { node, start: first, offsets } of unit.pieces) {
      for (let i = 0; i < node.data.length; ++i, ++length) {
        const offset = offsets ? offsets[i] : first + i;
        if (offset >= start && offset < end) {
          if (found.start < 0) found.start = length;
          found.end = length + 1;
        }
      }
    }
    return found;
  }

  #rows(unit, link, { sentences }) {
    const { result } = unit;
    const from = this.#plain(unit, link.source);
    const overlaps = ({ source }) => source.start < from.end && source.end > from.start;
    const sentence = sentences.find(overlaps);
    const rows = [];
    if (sentence) {
      const phrase = sentence.phrases.find(overlaps);
      const shown = result.text.slice(link.target.start, link.target.end);
      if (phrase && phrase.alternatives.length > 0) {
        rows.push(this.#title('This phrase'));
        rows.push(...this.#buttons(unit, phrase.alternatives, link.target, shown));
      }
      const inside = result.links.filter((one) => overlaps2(this.#plain(unit, one.source), sentence.source));
      if (inside.length > 0 && sentence.translations.length > 0) {
        const range = {
          start: Math.min(...inside.map((one) => one.target.start)),
          end: Math.max(...inside.map((one) => one.target.end)),
        };
        rows.push(this.#title('The whole sentence'));
        rows.push(...this.#buttons(
          unit, sentence.translations, range, result.text.slice(range.start, range.end)));
      }
    }
    if (rows.length === 0) rows.push(this.#title('No others are known.'));
    return rows;
  }

  #title(text) {
    const row = document.createElement('li');
    row.className = 'group';
    row.textContent = text;
    return row;
  }

  #buttons(unit, options, range, shown) {
    const { result } = unit;
    const old = result.text.slice(range.start, range.end);
    const seen = new Set();
    return options.filter(({ text }) => text !== '' && !seen.has(text) && seen.add(text)).map(
      ({ text, score }) => {
        const row = document.createElement('li');
        const button = document.createElement('button');
        button.type = 'button';
        const words = document.createElement('span');
        words.textContent = text;
        const value = document.createElement('span');
        value.className = 'score';
        value.textContent = score.toFixed(2);
        value.title = 'The score by which the translator chooses; higher is better';
        button.append(words, value);
        button.setAttribute('aria-pressed', String(text === shown));
        // Inside of markup, a change could tear it.
        button.disabled = unit.rich && /[<>]/.test(old);
        button.onclick = () => {
          this.close();
          this.#hooks.replaced(
            unit, spliced(result, range.start, range.end, unit.rich ? escapeHtml(text) : text));
        };
        row.append(button);
        return row;
      });
  }

  #key(event) {
    if (event.key === 'Escape') {
      event.preventDefault();
      this.close();
      return;
    }
    const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
    if (!step) return;
    event.preventDefault();
    const buttons = [...this.#box.querySelectorAll('button:not(:disabled)')];
    const at = buttons.indexOf(document.activeElement);
    buttons[(at + step + buttons.length) % buttons.length]?.focus();
  }
}

const overlaps2 = (a, b) => a.start < b.end && a.end > b.start;
