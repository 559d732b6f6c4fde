// Which language a text is in, as far as its letters tell, and how languages are called.

const kScripts = [
  ['ja', /[\u3040-\u30ff]/g],
  ['ko', /[\uac00-\ud7af]/g],
  ['zh', /[\u3400-\u9fff]/g],
  ['th', /[\u0e00-\u0e7f]/g],
  ['ar', /[\u0600-\u06ff]/g],
  ['ru', /[\u0400-\u04ff]/g],
  ['en', /[A-Za-z]/g],
];

/** The code of the likeliest language, or null for a text without letters that tell one. */
export function detect(text) {
  const sample = text.slice(0, 2000);
  const counts = Object.fromEntries(
    kScripts.map(([code, letters]) => [code, sample.match(letters)?.length ?? 0]));
  // Japanese is written with Chinese characters too; and a character says more than a letter.
  if (counts.ja > 0.1 * counts.zh) counts.ja += counts.zh;
  counts.en /= 4;
  const [code, count] = Object.entries(counts).sort((a, b) => b[1] - a[1])[0];
  return count > 0 ? code : null;
}

const names = typeof Intl.DisplayNames === 'function'
  ? new Intl.DisplayNames(['en'], { type: 'language' }) : null;
const kOwnNames = { lzh: 'Classical Chinese', yue: 'Cantonese' };

export function nameOf(code) {
  return kOwnNames[code] ?? names?.of(code) ?? code;
}

export function isRightToLeft(code) {
  return code === 'ar';
}

/** How many words a text has, roughly: what stands between blanks, and half of the Han characters. */
export function countWords(text) {
  const han = text.match(/[\u3040-\u30ff\u3400-\u9fff\uac00-\ud7af]/g)?.length ?? 0;
  const words = text.match(/[^\s\u3040-\u30ff\u3400-\u9fff\uac00-\ud7af]+/g)?.length ?? 0;
  return words + Math.round(han / 2);
}
