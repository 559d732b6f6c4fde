// Keeps the page for visits without a network. files.json, which the export wrote, lists what the
// page is made of with a version of the whole; a new version is fetched whole or not at all and
// takes over at the next visit. Models are kept by the engine package, not here.
const kPrefix = 'kora-page-';

async function listing() {
  const response = await fetch('files.json', { cache: 'no-cache' });
  if (!response.ok) throw new Error(`files.json: HTTP ${response.status}`);
  return response.json();
}

self.addEventListener('install', (event) => {
  event.waitUntil((async () => {
    const { version, files } = await listing();
    const cache = await caches.open(kPrefix + version);
    await cache.addAll(files.map((file) => new Request(file, { cache: 'no-cache' })));
  })());
});

self.addEventListener('activate', (event) => {
  event.waitUntil((async () => {
    // The newest is the one that this worker's installation made last.
    const names = (await caches.keys()).filter((name) => name.startsWith(kPrefix));
    await Promise.all(names.slice(0, -1).map((name) => caches.delete(name)));
    await self.clients.claim();
  })());
});

async function kept(request) {
  const names = (await caches.keys()).filter((name) => name.startsWith(kPrefix));
  const address = new URL(request.url);
  address.search = '';
  if (address.pathname.endsWith('/')) address.pathname += 'index.html';
  return names.length === 0
    ? null : (await caches.open(names.at(-1))).match(address.href, { ignoreVary: true });
}

self.addEventListener('fetch', (event) => {
  const { request } = event;
  if (request.method !== 'GET' || new URL(request.url).origin !== location.origin) return;
  if (request.url.includes('/models/') && !request.url.endsWith('/registry.json')) return;
  event.respondWith((async () => {
    if (request.url.endsWith('/registry.json')) {
      // Which models there are may change; without a network the last list holds.
      try {
        const fresh = await fetch(request, { cache: 'no-cache' });
        if (fresh.ok) return fresh;
      } catch {
        // offline
      }
    }
    return (await kept(request)) ?? fetch(request);
  })());
});
