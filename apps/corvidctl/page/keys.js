// The view of all keys: sorted, filtered, and each to be opened.

import { button, element, setText, stateMark } from './elements.js';
import { KeyDetail } from './detail.js';
import { VirtualGrid } from './grid.js';
import { age, compareTexts, count, isSameName, shortened } from './texts.js';

const columns = [
  { id: 'key', title: 'Key', text: (row) => row.key },
  { id: 'value', title: 'Value', text: (row) => row.value },
  { id: 'store', title: 'Winning store', text: (row) => row.valueStoreName },
  { id: 'original', title: 'Administrator’s value', text: (row) => row.originalValue },
  { id: 'state', title: 'State', text: (row) => row.state },
  { id: 'age', title: 'Age', text: (row) => row.since ?? '' },
];

const states = ['default', 'administrator', 'user', 'overridden', 'shadowed', 'sensitive'];

/** How long a row shows that it has just changed, in milliseconds. */
const freshFor = 4000;

/** Whether a row is among those of a chip: "" has all. */
function belongs(row, state) {
  return state === '' || (state === 'sensitive' ? row.isSensitive : row.state === state);
}

export class KeysView {
  #filter = '';
  #state = '';
  #showUndefined = false;
  #sort = { column: 'key', isDescending: false };
  #rows = [];
  #opened = null;            // the key whose row is open

  /** @param {function(string[])} navigate goes to a view and a key */
  constructor(model, root, navigate) {
    this.model = model;
    this.navigate = navigate;
    this.grid = new VirtualGrid({
      label: 'Keys',
      columns,
      fill: (cells, row) => this.#fill(cells, row),
      onToggle: (row) => this.navigate(isSameName(row.key, this.#opened) ? ['keys'] : ['keys', row.key]),
      onEscape: () => this.navigate(['keys']),
      onSort: (column) => this.#sortBy(column),
    });
    this.detail = new KeyDetail(model, () => this.navigate(['keys']));
    this.grid.detail.append(this.detail.element);
    this.empty = element('p', { class: 'empty', hidden: true });
    this.summary = element('p', { class: 'summary', role: 'status' });
    root.append(this.#makeTools(), this.grid.element, this.empty);
    this.grid.showSort('key', false);
    model.addEventListener('keys', () => this.#update());
    model.addEventListener('batch', () => setTimeout(() => this.grid.redraw(), freshFor));
    // Ages grow without anything being asked.
    setInterval(() => root.hidden || this.grid.redraw(), 20000);
  }

  /** Opens the key's row once there are rows, or closes the open one. @param {string|undefined} key in any case */
  show(key) {
    if (key === undefined) this.#close();
    else if (this.model.loaded.has('keys')) this.#open(this.#shownRow(key).key);
  }

  #open(key) {
    const isAnother = !isSameName(key, this.#opened);
    this.#opened = key;
    this.detail.show(key);
    this.grid.open(this.#rows.findIndex((row) => isSameName(row.key, key)));
    if (isAnother) this.detail.focus();
  }

  #close() {
    const hadFocus = this.detail.element.contains(document.activeElement);
    this.#opened = null;
    this.grid.open(-1);
    if (hadFocus) this.grid.focus();
  }

  focusFilter() {
    this.filterField.focus();
    this.filterField.select();
  }

  /** A key that somebody asked for is shown, whatever the filter says, and even if no store has it. */
  #shownRow(key) {
    const row = this.model.askedRow(key);
    if (!this.#rows.includes(row)) {
      this.#filter = this.filterField.value = '';
      this.#state = '';
      if (!row.isDefined) this.undefinedField.checked = this.#showUndefined = true;
      this.#update();
    }
    return row;
  }

  #makeTools() {
    this.filterField = element('input', { type: 'search', id: 'filter', placeholder: 'key, value or store',
      autocomplete: 'off', spellcheck: 'false', 'aria-keyshortcuts': '/' });
    this.filterField.addEventListener('input', () => {
      this.#filter = this.filterField.value;
      this.#update();
    });
    this.filterField.addEventListener('keydown', (event) => {
      if (event.key === 'ArrowDown') { event.preventDefault(); this.grid.focus(); }
    });
    this.undefinedField = element('input', { type: 'checkbox', id: 'undefined' });
    this.undefinedField.addEventListener('change', () => {
      this.#showUndefined = this.undefinedField.checked;
      this.#update();
    });
    this.chips = new Map(['', ...states].map((state) => [state, this.#makeChip(state)]));
    return element('div', { class: 'tools' },
      element('label', { class: 'field', for: 'filter' }, 'Filter', this.filterField),
      element('div', { class: 'chips', role: 'group', 'aria-label': 'State' }, ...this.chips.values()),
      element('label', { class: 'check' }, this.undefinedField, 'Show undefined'),
      this.summary);
  }

  #makeChip(state) {
    const number = element('span', { class: 'number' });
    const chip = button(state === '' ? 'all' : state, () => {
      this.#state = state;
      this.#update();
    }, { class: 'chip', 'data-state': state });
    chip.append(' ', number);
    return chip;
  }

  #sortBy(column) {
    const isDescending = this.#sort.column === column && !this.#sort.isDescending;
    this.#sort = { column, isDescending };
    this.grid.showSort(column, isDescending);
    this.#update();
  }

  #update() {
    const candidates = this.model.keys.filter((row) => this.#showUndefined || row.isDefined);
    const words = this.#filter.toLowerCase().split(/\s+/).filter(Boolean);
    this.#rows = candidates.filter((row) => belongs(row, this.#state) &&
      words.every((word) => row.searched.includes(word)));
    this.#sortRows();
    this.#showNumbers(candidates);
    this.grid.setRows(this.#rows, (a, b) => isSameName(a.key, b.key));
    if (this.#opened !== null) this.#keepOpened();
    performance.mark('keys-shown');
  }

  /** An opened row may have been hidden by a filter, and come back; another store may write its name in another case. */
  #keepOpened() {
    const index = this.#rows.findIndex((row) => isSameName(row.key, this.#opened));
    if (index >= 0 && this.#rows[index].key !== this.#opened) {
      this.#opened = this.#rows[index].key;
      this.detail.show(this.#opened);
    }
    if (index >= 0 !== this.grid.detailRow.isConnected) this.grid.open(index);
  }

  #sortRows() {
    const { text } = columns.find(({ id }) => id === this.#sort.column);
    const sign = this.#sort.isDescending ? -1 : 1;
    // The answer is sorted by key, and sorting is stable: rows that are equal stay in that order.
    if (this.#sort.column === 'age') this.#rows.sort((a, b) => sign * (text(a) < text(b) ? 1 : text(a) > text(b) ? -1 : 0));
    else this.#rows.sort((a, b) => sign * compareTexts(text(a), text(b)));
  }

  #showNumbers(candidates) {
    for (const [state, chip] of this.chips) {
      chip.setAttribute('aria-pressed', state === this.#state);
      setText(chip.lastChild, candidates.filter((row) => belongs(row, state)).length.toLocaleString('en'));
    }
    const all = candidates.length;
    setText(this.summary, this.#rows.length === all ? count(all, 'key')
      : `${this.#rows.length.toLocaleString('en')} of ${count(all, 'key')}`);
    this.empty.hidden = this.#rows.length > 0;
    if (!this.empty.hidden) this.#explainEmptiness();
  }

  #explainEmptiness() {
    if (!this.model.loaded.has('keys')) {
      this.empty.replaceChildren('Reading the keys …');
      return;
    }
    const key = this.#filter.trim();
    this.empty.replaceChildren('No key is like that. ',
      ...(key && !/\s/.test(key) ? [button(`Open the key “${shortened(key, 40)}”`, () => this.navigate(['keys', key]))]
        : ['Try another word, or all states.']));
  }

  #fill(cells, row) {
    const [key, value, store, original, state, since] = cells;
    setText(key, shortened(row.key));
    setText(value, row.isDefined ? shortened(row.value) : '–');
    setText(store, row.valueStoreName);
    setText(original, shortened(row.originalValue));
    original.classList.toggle('same', row.originalValue === row.value);
    const mark = row.isSensitive ? `${row.state} sensitive` : row.state;
    if (state.dataset.shown !== mark) {
      state.dataset.shown = mark;
      state.replaceChildren(stateMark(row.state), ...(row.isSensitive ? [stateMark('sensitive')] : []));
    }
    setText(since, age(row.since));
    since.title = row.since ? new Date(row.since).toLocaleString() : '';
    const element = key.parentElement;
    element?.classList.toggle('fresh', row.changedAt !== undefined && performance.now() - row.changedAt < freshFor);
  }
}
