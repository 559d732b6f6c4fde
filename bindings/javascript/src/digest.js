// SHA-256 as lower-case hexadecimal digits, by the platform; null where it has none (pages that are
// not served safely), and the engine then compares the files with the folder's manifest itself.
export async function sha256(bytes) {
  const subtle = globalThis.crypto?.subtle;
  if (!subtle) return null;
  const digest = new Uint8Array(await subtle.digest('SHA-256', bytes));
  return Array.from(digest, (byte) => byte.toString(16).padStart(2, '0')).join('');
}
