// Writes the static site: node web/export.js PACKAGE DIR MODEL_FOLDER...
// PACKAGE is the folder of the built npm package. DIR is filled anew; any host can serve it.
import { execFileSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { cpSync, linkSync, mkdirSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { basename, join, relative, resolve } from 'node:path';
import process from 'node:process';
import { fileURLToPath } from 'node:url';

const [pack, site, ...models] = process.argv.slice(2);
if (models.length === 0) {
  process.stderr.write('usage: node web/export.js PACKAGE DIR MODEL_FOLDER...\n');
  process.exit(2);
}
const page = fileURLToPath(new URL('.', import.meta.url));

const kOwn = ['index.html', 'style.css', 'theme.js', 'app.js', 'choices.js', 'files.js',
  'language.js', 'models.js', 'richtext.js', 'sw.js', 'icon.svg', 'manifest.webmanifest'];

rmSync(site, { recursive: true, force: true });
mkdirSync(join(site, 'models'), { recursive: true });
for (const name of kOwn) cpSync(join(page, name), join(site, name));
mkdirSync(join(site, 'engine'));
cpSync(join(pack, 'kora.wasm'), join(site, 'engine/kora.wasm'));
cpSync(join(pack, 'src'), join(site, 'engine/src'), {
  recursive: true,
  filter: (name) => !/\.d\.ts$|registry-tool\.js$/.test(name),
});
for (const model of models) {
  const target = join(site, 'models', basename(resolve(model)));
  mkdirSync(target);
  for (const file of readdirSync(model)) {
    try {
      linkSync(join(model, file), join(target, file)); // no second copy on one disk
    } catch {
      cpSync(join(model, file), join(target, file));
    }
  }
}
writeFileSync(
  join(site, 'models/registry.json'),
  execFileSync(process.execPath, [join(pack, 'src/registry-tool.js'), join(site, 'models')]));

function* filesOf(folder) {
  for (const entry of readdirSync(folder, { withFileTypes: true })) {
    const path = join(folder, entry.name);
    if (entry.isDirectory()) yield* filesOf(path);
    else yield path;
  }
}

// What the page needs without a network, models aside, and a version that changes with any of it.
const files = [...filesOf(site)]
  .map((path) => relative(site, path))
  .filter((name) => name !== 'sw.js' && (!name.startsWith('models/') || name === 'models/registry.json'))
  .sort();
const version = createHash('sha256');
for (const name of files) version.update(name).update(readFileSync(join(site, name)));
writeFileSync(
  join(site, 'files.json'),
  `${JSON.stringify({ version: version.digest('hex').slice(0, 16), files }, null, 1)}\n`);
