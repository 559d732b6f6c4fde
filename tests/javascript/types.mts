// Compiled, not run: the package's types allow what its README shows, and refuse mistakes.
import { KoraError, Registry, Translator } from '../../build/wasm/package/src/index.js';

export async function use(files: File[]): Promise<string> {
  const registry = await Registry.open('models/registry.json', { signal: AbortSignal.timeout(1) });
  const model = registry.find('en-zh');
  if (!model) throw new KoraError('bad-argument', 'none');
  const translator = await Translator.open(model, { progress: ({ loaded, total }) => loaded / total });
  await Translator.open('models/en-zh', { store: 'none', check: true });
  await Translator.open(files);
  const one = await translator.translate('a', { nbest: 2, format: 'html', glossary: [['a', 'b']] });
  const many: string[] = (await translator.translate(['a', 'b'])).map(({ text }) => text);
  const { links } = await translator.align('a');
  const score: number | undefined = one.alternatives?.[0]?.score;
  const phrases = (await translator.explain('a')).sentences[0]?.phrases ?? [];
  // @ts-expect-error: no such format
  await translator.translate('a', { format: 'pdf' });
  // @ts-expect-error: opened, not made
  new Translator();
  translator.close();
  return many.join() + String(score) + links.map(({ source }) => source.end).join() + phrases.length;
}
