// Where downloaded files stay until the next visit, each under its SHA-256: the Cache API, or the
// origin's private file system (OPFS). Files are checked again whenever they are read, so what a
// store gives is only ever a copy that may be wrong or missing.

const kName = 'kora-models';

class CacheStore {
  #address(digest) {
    return new URL(`/${kName}/${digest}`, globalThis.location.origin).href;
  }
  async get(digest) {
    const found = await (await caches.open(kName)).match(this.#address(digest));
    return found ? new Uint8Array(await found.arrayBuffer()) : null;
  }
  async put(digest, bytes) {
    await (await caches.open(kName)).put(this.#address(digest), new Response(bytes));
  }
  async delete(digest) {
    await (await caches.open(kName)).delete(this.#address(digest));
  }
  async list() {
    const requests = await (await caches.open(kName)).keys();
    return requests.map((request) => request.url.slice(request.url.lastIndexOf('/') + 1));
  }
}

class PrivateFileStore {
  async #folder() {
    return (await navigator.storage.getDirectory()).getDirectoryHandle(kName, { create: true });
  }
  async get(digest) {
    try {
      const handle = await (await this.#folder()).getFileHandle(digest);
      return new Uint8Array(await (await handle.getFile()).arrayBuffer());
    } catch (error) {
      if (error.name === 'NotFoundError') return null;
      throw error;
    }
  }
  async put(digest, bytes) {
    const handle = await (await this.#folder()).getFileHandle(digest, { create: true });
    const stream = await handle.createWritable();
    try {
      await stream.write(bytes);
      await stream.close();
    } catch (error) {
      await stream.abort().catch(() => {});
      throw error;
    }
  }
  async delete(digest) {
    await (await this.#folder()).removeEntry(digest).catch(() => {});
  }
  async list() {
    const names = [];
    for await (const name of (await this.#folder()).keys()) names.push(name);
    return names;
  }
}

class NoStore {
  async get() {
    return null;
  }
  async put() {}
  async delete() {}
  async list() {
    return [];
  }
}

/**
 * @param {'auto' | 'cache' | 'opfs' | 'none'} kind
 */
export function openStore(kind = 'auto') {
  const hasCache = typeof caches !== 'undefined' && typeof location !== 'undefined';
  const hasFiles = typeof navigator !== 'undefined' && navigator.storage?.getDirectory;
  if (kind === 'cache' || (kind === 'auto' && hasCache)) return new CacheStore();
  if (kind === 'opfs' || (kind === 'auto' && hasFiles)) return new PrivateFileStore();
  return new NoStore();
}
