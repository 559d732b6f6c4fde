// From bytes of UTF-8, in which the engine counts, to UTF-16 units, in which JavaScript counts.

const decoder = new TextDecoder('utf-8', { ignoreBOM: true });

/**
 * Decodes bytes and tells where each byte lies in the string.
 * @param {Uint8Array} bytes
 * @returns {{text: string, units: Int32Array}} units[i] is the unit of the character that byte i
 *     belongs to; units[bytes.length] is the length of the string
 */
export function decodeWithUnits(bytes) {
  const text = decoder.decode(bytes);
  const units = new Int32Array(bytes.length + 1);
  let unit = 0;
  let at = 0;
  while (at < bytes.length) {
    const lead = bytes[at];
    const size = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    if (lead >= 0x80 && lead < 0xc0) return { text, units: unitsOfBroken(bytes) };
    units.fill(unit, at, at + size);
    at += size;
    unit += size === 4 ? 2 : 1;
  }
  if (at !== bytes.length || unit !== text.length) return { text, units: unitsOfBroken(bytes) };
  units[bytes.length] = unit;
  return { text, units };
}

// Byte by byte as the decoder sees them: for text that is not valid UTF-8.
function unitsOfBroken(bytes) {
  const stream = new TextDecoder('utf-8', { ignoreBOM: true });
  const units = new Int32Array(bytes.length + 1);
  let unit = 0;
  for (let i = 0; i < bytes.length; ++i) {
    units[i] = unit;
    unit += stream.decode(bytes.subarray(i, i + 1), { stream: true }).length;
  }
  units[bytes.length] = unit + stream.decode().length;
  return units;
}

/**
 * Links of the engine (first and last byte, inclusive) as ranges of units, end exclusive.
 * @param {Int32Array} links four numbers each
 */
export function linksInUnits(links, sourceUnits, targetUnits) {
  const range = (units, first, last) => {
    // A link of length nothing ends before it begins.
    const start = units[Math.max(0, Math.min(first, units.length - 1))];
    const end = last < first ? start : units[Math.min(last + 1, units.length - 1)];
    return { start, end: Math.max(start, end) };
  };
  const result = [];
  for (let i = 0; i + 3 < links.length; i += 4) {
    result.push({
      source: range(sourceUnits, links[i], links[i + 1]),
      target: range(targetUnits, links[i + 2], links[i + 3]),
    });
  }
  return result;
}
