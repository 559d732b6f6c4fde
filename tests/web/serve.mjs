// A plain static server for the tests, whose answers a test may change: fail(path, how).
import { createServer } from 'node:http';
import { readFile } from 'node:fs/promises';
import { extname, join, normalize } from 'node:path';

const kTypes = {
  '.html': 'text/html; charset=utf-8', '.css': 'text/css', '.js': 'text/javascript',
  '.svg': 'image/svg+xml', '.json': 'application/json', '.wasm': 'application/wasm',
  '.webmanifest': 'application/manifest+json',
};

export async function serve(folder) {
  const changes = new Map(); // end of a path to a function of (response, bytes)
  const asked = [];
  const server = createServer(async (request, response) => {
    const path = normalize(decodeURIComponent(new URL(request.url, 'http://localhost').pathname));
    asked.push(path);
    try {
      const bytes = await readFile(join(folder, path.endsWith('/') ? `${path}index.html` : path));
      response.setHeader('Content-Type', kTypes[extname(path) || '.html'] ?? 'application/octet-stream');
      response.setHeader('Cache-Control', 'no-cache');
      for (const [end, change] of changes) {
        if (path.endsWith(end)) return void (await change(response, bytes));
      }
      response.end(bytes);
    } catch {
      response.statusCode = 404;
      response.end();
    }
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  return {
    url: `http://localhost:${server.address().port}/`,
    asked,
    change: (end, how) => changes.set(end, how),
    restore: () => changes.clear(),
    close: () => {
      server.closeAllConnections();
      return new Promise((resolve) => server.close(resolve));
    },
  };
}
