// Files that come in for translation and go out as downloads. They never leave the page.

const kLargest = 50e6; // bytes

const isHtml = (file) => /html/i.test(file.type) || /\.html?$/i.test(file.name);

/**
 * Translates a file and puts a row for it into `list`.
 * @param tools {engine(text): Promise<Translator>, glossary, failed(error), say(text)}
 */
export async function translateFile(file, list, { engine, glossary, failed, say }) {
  const html = isHtml(file);
  if (!html && !/^text\//.test(file.type) && !/\.txt$/i.test(file.name)) {
    failed(new Error(`${file.name} is neither a text file nor an HTML file`));
    return;
  }
  if (file.size > kLargest) {
    failed(new Error(`${file.name} is larger than ${kLargest / 1e6} MB`));
    return;
  }
  const row = document.createElement('li');
  const name = document.createElement('span');
  name.textContent = file.name;
  const progress = document.createElement('progress');
  progress.setAttribute('aria-label', `Translating ${file.name}`);
  const cancel = document.createElement('button');
  cancel.type = 'button';
  cancel.className = 'quiet';
  cancel.textContent = 'Cancel';
  const control = new AbortController();
  cancel.onclick = () => control.abort();
  row.append(name, progress, cancel);
  list.append(row);
  try {
    const text = await file.text();
    const translator = await engine(html ? text.replace(/<[^>]*>/g, ' ') : text);
    control.signal.throwIfAborted();
    const result = await translator.translate(text, {
      format: html ? 'html' : 'text',
      glossary,
      signal: control.signal,
      progress: ({ done, total }) => {
        progress.max = total;
        progress.value = done;
      },
    });
    const target = translator.direction.split('-')[1];
    const link = document.createElement('a');
    link.download = file.name.replace(/(\.[^.]*)?$/, `.${target}$1`);
    link.textContent = link.download;
    link.href = URL.createObjectURL(
      new Blob([result.text], { type: html ? 'text/html' : 'text/plain' }));
    const remove = document.createElement('button');
    remove.type = 'button';
    remove.className = 'quiet';
    remove.textContent = 'Remove';
    remove.onclick = () => {
      URL.revokeObjectURL(link.href);
      row.remove();
    };
    row.replaceChildren(link, remove);
    say(`${file.name} is translated`);
  } catch (error) {
    row.remove();
    if (error.name !== 'AbortError') failed(error);
  }
}
