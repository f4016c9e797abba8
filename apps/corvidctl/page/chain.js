// The view of the stores in the order in which they are asked, and a value's way through them.

import { ask } from './api.js';
import { button, code, drawing, element, redraw, setText, timeElement } from './elements.js';
import { oneAtATime } from './model.js';
import { age, count, kinds, place, quoted, shortened, shownFile } from './texts.js';

/** Names that are offered while somebody types. */
const offered = 40;

export class ChainView {
  #key = null;
  #explanation = null;

  /** @param {function(string[])} navigate goes to a view and a key */
  constructor(model, root, navigate) {
    this.model = model;
    this.navigate = navigate;
    this.story = element('p', { class: 'lead', role: 'status' });
    this.list = element('ol', { class: 'chain', 'aria-label': 'Stores, in the order in which they are asked' });
    root.append(this.#makeTools(), this.story, this.list);
    this.refresh = oneAtATime(() => this.#load());
    model.addEventListener('stores', () => (this.#key === null ? this.#draw() : this.refresh()));
  }

  /** Draws the way of a key's value. @param {string|undefined} key undefined: of none */
  show(key) {
    this.#key = key ?? null;
    this.#explanation = null;
    this.field.value = key ?? '';
    this.clear.hidden = this.open.hidden = key === undefined;
    if (key === undefined) this.#draw();
    else {
      this.open.href = `#keys/${encodeURIComponent(key)}`;
      if (this.model.loaded.has('stores')) this.refresh();
    }
  }

  #makeTools() {
    this.names = element('datalist', { id: 'chain-names' });
    this.field = element('input', { type: 'search', id: 'chain-key', list: 'chain-names', placeholder: 'a key',
      autocomplete: 'off', spellcheck: 'false' });
    this.field.addEventListener('input', () => this.#offer());
    this.field.addEventListener('change', () => this.#choose());
    this.clear = button('No key', () => this.navigate(['chain']), { hidden: true });
    this.open = element('a', { class: 'button', hidden: true }, 'Open the key');
    return element('div', { class: 'tools' },
      element('label', { class: 'field', for: 'chain-key' }, 'The way of', this.field), this.names, this.open, this.clear);
  }

  #offer() {
    const typed = this.field.value.toLowerCase();
    const names = [];
    for (const { key } of this.model.keys) {
      if (key.toLowerCase().includes(typed)) names.push(key);
      if (names.length === offered) break;
    }
    this.names.replaceChildren(...names.map((name) => element('option', { value: name })));
    if (this.model.row(this.field.value)) this.#choose();
  }

  #choose() {
    const key = this.field.value.trim();
    if (key !== (this.#key ?? '')) this.navigate(key ? ['chain', key] : ['chain']);
  }

  async #load() {
    const key = this.#key;
    if (key === null) return;
    try {
      const explanation = await ask(`explain?key=${encodeURIComponent(key)}`);
      if (key !== this.#key) return;
      this.#explanation = explanation;
      this.#draw();
    } catch (failure) {
      this.story.textContent = failure.message;
    }
  }

  #draw() {
    setText(this.story, story(this.#explanation));
    const layers = new Map();
    // Of several names that were looked up, the last one is that which hit, if any did.
    for (const layer of this.#explanation?.layers ?? []) {
      if (!layers.has(layer.store) || layer.value !== null) layers.set(layer.store, layer);
    }
    const winner = this.model.stores.findIndex(({ name }) => layers.get(name)?.wins);
    this.list.classList.toggle('with-key', this.#explanation !== null);
    redraw(this.list, ...this.model.stores.map((store, index) =>
      storeItem(store, layers.get(store.name), rail(index, this.model.stores.length, this.#explanation ? winner : null))));
  }
}

function story(explanation) {
  if (!explanation) return 'A key is looked for in the first store, then in the next: the first one that has it, wins.';
  if (!explanation.isDefined) return `No store has ${explanation.key}.`;
  const wins = `${explanation.valueStoreName} has ${shortened(explanation.key, 60)} first, and wins with ${quoted(explanation.value)}.`;
  return explanation.isOverridden && explanation.originalValueStoreName
    ? `${wins} The administrator's value is ${quoted(explanation.originalValue)}, of ${explanation.originalValueStoreName}.` : wins;
}

/**
 * The piece of the line beside a store.
 * @param {number|null} winner index of the winning store, -1 if there is none; null: no key is chosen
 */
function rail(index, length, winner) {
  const reached = winner === null ? '' : winner < 0 || index <= winner ? 'asked' : 'not-asked';
  const leaves = winner === null ? '' : winner < 0 || index < winner ? 'asked' : 'not-asked';
  const line = (from, to, state) => drawing('line', { x1: 14, x2: 14, y1: from, y2: to, class: `rail-line ${state}` });
  return drawing('svg', { class: 'rail', 'aria-hidden': 'true', preserveAspectRatio: 'none' },
    index > 0 ? line('0%', '50%', reached) : null,
    index < length - 1 ? line('50%', '100%', leaves) : null,
    index === winner ? drawing('line', { x1: 14, x2: '100%', y1: '50%', y2: '50%', class: 'rail-line asked' }) : null,
    drawing('circle', { cx: 14, cy: '50%', r: index === winner ? 8 : 5,
      class: `rail-stop ${index === winner ? 'wins' : reached}` }));
}

function storeItem(store, layer, railDrawing) {
  const tags = [...kinds(store), ...(store.isCached ? [] : ['live'])];
  return element('li', { class: `store ${layer ? `layer-${layer.state}` : ''}`, 'data-store': store.name },
    railDrawing,
    element('div', { class: 'store-box' },
      element('div', { class: 'store-head' },
        element('span', { class: 'priority', title: 'Priority: the smallest is asked first' }, String(store.priority)),
        element('h2', {}, code(store.name)),
        element('span', { class: 'tags' }, ...tags.map((tag) => element('span', { class: 'tag', 'data-tag': tag }, tag)))),
      numbers(store),
      element('p', { class: 'quiet source' }, ...source(store)),
      store.problem ? element('p', { class: 'failure' }, store.problem) : null),
    layer ? layerBox(layer) : null);
}

function numbers(store) {
  const bar = drawing('svg', { class: 'bar', 'aria-hidden': 'true', viewBox: '0 0 100 4', preserveAspectRatio: 'none' },
    drawing('rect', { class: 'bar-all', width: 100, height: 4 }),
    drawing('rect', { class: 'bar-wins', width: store.keys ? (100 * store.wins) / store.keys : 0, height: 4 }));
  const over = store.winsOver > 0 ? `, ${count(store.winsOver, 'time')} over another store` : '';
  return element('div', { class: 'numbers' },
    element('span', {}, `${count(store.keys, 'key')}, wins ${store.wins.toLocaleString('en')}${over}`), bar);
}

function source(store) {
  const parts = [store.file ? code(shownFile(store.file)) : store.url ? null : 'in memory', store.url ? code(store.url) : null,
    store.state && store.state !== 'loaded' ? element('span', { class: 'store-state' }, store.state) : null,
    store.time ? timeElement(store.time, `loaded ${age(store.time)}`) : null].filter(Boolean);
  return parts.flatMap((part, index) => (index ? [' · ', part] : [part]));
}

function layerBox(layer) {
  return element('div', { class: 'layer-box' },
    element('span', { class: 'part', 'data-part': layer.state }, layer.state),
    layer.value === null ? null : code(shortened(layer.value), 'layer-value'),
    layer.value === null || !layer.line ? null : element('span', { class: 'quiet' }, code(place(layer))));
}
