// The translators of the page: one for each direction, opened when it is first asked for.
import { Registry, Translator } from './engine/src/index.js';

export class Models {
  #registry = null;
  #open = new Map(); // direction to a promise of a Translator

  async list() {
    this.#registry ??= await Registry.open('models/registry.json');
    return this.#registry.models;
  }

  find(direction) {
    return this.#registry?.find(direction) ?? null;
  }

  async isStored(direction) {
    const model = this.find(direction);
    return model !== null && this.#registry.isStored(model).catch(() => false);
  }

  isOpen(direction) {
    return this.#open.has(direction);
  }

  /** The direction's translator; opened once, tried again after a failure. */
  get(direction, options = {}) {
    let opening = this.#open.get(direction);
    if (!opening) {
      opening = Translator.open(this.find(direction), options);
      this.#open.set(direction, opening);
      opening.catch(() => this.#open.delete(direction));
    }
    return opening;
  }

  async memory() {
    let sum = 0;
    for (const opening of this.#open.values()) {
      sum += (await opening.catch(() => null))?.memory ?? 0;
    }
    return sum;
  }

  async forget() {
    for (const opening of this.#open.values()) opening.then((t) => t.close(), () => {});
    this.#open.clear();
    for (const model of await this.list()) await this.#registry.remove(model);
  }
}
