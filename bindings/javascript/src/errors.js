// Failures as programs meet them: an Error with a code.

/** See index.d.ts for the codes. */
export class KoraError extends Error {
  constructor(code, message) {
    super(message);
    this.name = 'KoraError';
    this.code = code;
  }
}

/** What a cancelled call is rejected with when its signal gives no reason of its own. */
export function abortReason(signal) {
  return signal?.reason ?? new DOMException('The call was cancelled', 'AbortError');
}
