// A table of any length. Only the rows that can be seen are in the document.

import { element } from './elements.js';

/** Rows before and after the seen ones, so that a step of the wheel shows no gap. */
const spareRows = 6;

/**
 * A grid with a head to sort by, an active row that the arrow keys move, and at most one row that is opened: what it
 * opens to stands below it. The focus stays on the grid, which names the active row to screen readers; a row that
 * leaves the document could not keep it.
 */
export class VirtualGrid {
  #rows = [];
  #drawn = new Map();        // index: element
  #unused = [];
  #active = -1;
  #opened = -1;
  #rowHeight = 0;
  #detailHeight = 0;
  #isOpening = false;        // what the row opens to is still filling, and nobody has moved since

  /**
   * @param {Object} options
   * @param {string} options.label what screen readers call the grid
   * @param {{id: string, title: string}[]} options.columns
   * @param {function(HTMLElement[], Object)} options.fill puts a row's data into its cells
   * @param {function(Object)} options.onToggle a row was chosen with Enter or the mouse: it is to open or to close
   * @param {function()} options.onEscape
   * @param {function(string)} options.onSort a column's head was pressed
   */
  constructor(options) {
    this.options = options;
    this.head = this.#makeHead();
    this.body = element('div', { class: 'grid-body', role: 'rowgroup' });
    this.element = element('div', {
      class: 'grid', role: 'grid', tabindex: 0, 'aria-label': options.label,
      'aria-colcount': options.columns.length, 'aria-rowcount': 1,
    }, this.head, this.body);
    this.detail = element('div', { role: 'gridcell', 'aria-colspan': options.columns.length });
    this.detailRow = element('div', { class: 'grid-detail', role: 'row' }, this.detail);
    this.element.addEventListener('scroll', () => this.#draw(), { passive: true });
    this.element.addEventListener('keydown', (event) => this.#onKey(event));
    for (const move of ['wheel', 'pointerdown', 'keydown', 'touchmove']) {
      this.element.addEventListener(move, () => { this.#isOpening = false; }, { passive: true });
    }
    this.body.addEventListener('click', (event) => this.#onClick(event));
    new ResizeObserver(() => this.#measure()).observe(this.element);
    new ResizeObserver(() => this.#measureDetail()).observe(this.detailRow);
  }

  /** Shows other rows. The active and the opened row stay what they are, if `sameRow` finds them. */
  setRows(rows, sameRow) {
    const active = this.#rows[this.#active];
    const opened = this.#rows[this.#opened];
    this.#rows = rows;
    this.#active = active ? rows.findIndex((row) => sameRow(row, active)) : -1;
    this.#opened = opened ? rows.findIndex((row) => sameRow(row, opened)) : -1;
    if (this.#active < 0 && rows.length > 0) this.#active = 0;
    this.#placeDetail();
    this.redraw();
  }

  /** Draws the seen rows anew, as their data may have changed. */
  redraw() {
    for (const [index, row] of this.#drawn) {
      if (this.#rows[index]) this.options.fill(row.cells, this.#rows[index]);
    }
    this.#measure();
    this.#draw();
  }

  /** Marks the column that the rows are sorted by. */
  showSort(column, isDescending) {
    for (const cell of this.head.children) {
      const isIt = cell.dataset.column === column;
      cell.setAttribute('aria-sort', isIt ? (isDescending ? 'descending' : 'ascending') : 'none');
    }
  }

  /** Opens the row with that index, and shows it; -1 closes. */
  open(index) {
    this.#isOpening = index >= 0 && (this.#isOpening || index !== this.#opened);
    this.#opened = index;
    if (index >= 0) this.#active = index;
    this.#placeDetail();
    this.#draw();
    this.#markRows();
    if (this.#isOpening) this.#reveal(index, this.#detailHeight);
  }

  focus() {
    this.element.focus({ preventScroll: true });
  }

  #makeHead() {
    const head = element('div', { class: 'grid-head', role: 'row', 'aria-rowindex': 1 });
    this.options.columns.forEach(({ id, title }, index) => {
      const press = element('button', { type: 'button' }, title);
      press.addEventListener('click', () => this.options.onSort(id));
      head.append(element('div', { role: 'columnheader', class: `column-${id}`, 'data-column': id,
        'aria-colindex': index + 1, 'aria-sort': 'none' }, press));
    });
    return head;
  }

  #makeRow() {
    const cells = this.options.columns.map(({ id }, index) =>
      element('div', { role: 'gridcell', class: `column-${id}`, 'aria-colindex': index + 1 }));
    const row = element('div', { class: 'grid-row', role: 'row' }, ...cells);
    row.cells = cells;
    return row;
  }

  /** The height of a row follows the size of the letters, and so the zoom. */
  #measure() {
    const sample = this.#drawn.values().next().value ?? this.#sampleRow();
    const height = sample.getBoundingClientRect().height;
    if (height === 0 || height === this.#rowHeight) return;
    this.#rowHeight = height;
    this.#draw();
  }

  #sampleRow() {
    const row = this.#makeRow();
    this.body.append(row);
    queueMicrotask(() => row.remove());
    return row;
  }

  #measureDetail() {
    const height = this.detailRow.getBoundingClientRect().height;
    if (height === this.#detailHeight) return;
    this.#detailHeight = height;
    this.#draw();
    if (this.#isOpening && this.#opened >= 0) this.#reveal(this.#opened, height);
  }

  #placeDetail() {
    this.element.setAttribute('aria-rowcount', this.#rows.length + (this.#opened < 0 ? 1 : 2));
    if (this.#opened < 0) {
      this.detailRow.remove();
      this.#detailHeight = 0;
    } else {
      this.detailRow.setAttribute('aria-rowindex', this.#opened + 3);
      if (!this.detailRow.isConnected) this.body.append(this.detailRow);
      this.#detailHeight = this.detailRow.getBoundingClientRect().height;
    }
  }

  #top(index) {
    return index * this.#rowHeight + (this.#opened >= 0 && index > this.#opened ? this.#detailHeight : 0);
  }

  /** The index of the row at a height of the body. */
  #indexAt(height) {
    const below = this.#opened < 0 ? Infinity : this.#top(this.#opened) + this.#rowHeight;
    const within = height < below ? height : Math.max(below - 1, height - this.#detailHeight);
    return Math.floor(within / this.#rowHeight);
  }

  #draw() {
    if (this.#rowHeight === 0) return;
    this.body.style.height = `${this.#top(this.#rows.length)}px`;
    const from = this.element.scrollTop;
    const first = Math.max(0, this.#indexAt(from) - spareRows);
    const last = Math.min(this.#rows.length - 1, this.#indexAt(from + this.element.clientHeight) + spareRows);
    for (const [index, row] of this.#drawn) {
      if ((index < first || index > last) && index !== this.#active || index >= this.#rows.length) {
        this.#drawn.delete(index);
        this.#unused.push(row);
      }
    }
    for (let index = first; index <= last; ++index) this.#drawRow(index);
    if (this.#active >= 0) this.#drawRow(this.#active);
    for (const row of this.#unused.splice(0)) row.remove();
    if (this.#opened >= 0) {
      this.detailRow.style.transform = `translateY(${this.#top(this.#opened) + this.#rowHeight}px)`;
    }
    this.#orderRows();
    this.#markRows();
  }

  /**
   * The document has the rows in the order in which they are seen, with what the opened one opens to behind it. That is
   * never moved, as what has the focus there would lose it: others go around it.
   */
  #orderRows() {
    const indices = [...this.#drawn.keys()].sort((a, b) => a - b);
    const wanted = indices.map((index) => this.#drawn.get(index));
    if (this.#opened >= 0) wanted.splice(indices.filter((index) => index <= this.#opened).length, 0, this.detailRow);
    let at = this.body.firstChild;
    for (const node of wanted) {
      while (node === this.detailRow && at !== node) {
        const next = at.nextSibling;
        this.body.append(at);
        at = next;
      }
      if (node === at) at = at.nextSibling;
      else this.body.insertBefore(node, at);
    }
  }

  #drawRow(index) {
    let row = this.#drawn.get(index);
    if (!row) {
      row = this.#unused.pop() ?? this.#makeRow();
      this.#drawn.set(index, row);
      row.id = `row-${index}`;
      row.dataset.index = index;
      row.classList.toggle('odd', index % 2 === 1);
      this.options.fill(row.cells, this.#rows[index]);
      if (!row.isConnected) this.body.append(row);
    }
    row.setAttribute('aria-rowindex', index + (this.#opened >= 0 && index > this.#opened ? 3 : 2));
    row.style.transform = `translateY(${this.#top(index)}px)`;
  }

  #markRows() {
    for (const [index, row] of this.#drawn) {
      row.classList.toggle('active', index === this.#active);
      row.setAttribute('aria-selected', index === this.#active);
      row.setAttribute('aria-expanded', index === this.#opened);
    }
    if (this.#active >= 0) this.element.setAttribute('aria-activedescendant', `row-${this.#active}`);
    else this.element.removeAttribute('aria-activedescendant');
  }

  #onClick(event) {
    const row = event.target.closest('.grid-row');
    if (!row || !getSelection().isCollapsed) return;
    this.#active = Number(row.dataset.index);
    this.#markRows();
    this.options.onToggle(this.#rows[this.#active]);
  }

  #onKey(event) {
    if (event.key === 'Escape') {
      this.options.onEscape();
      return;
    }
    if (event.target !== this.element || event.ctrlKey || event.altKey || event.metaKey) return;
    const page = Math.max(1, Math.floor((this.element.clientHeight - this.head.offsetHeight) / this.#rowHeight) - 1);
    const steps = { ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -Infinity, End: Infinity };
    if (event.key in steps) this.#activate(this.#active + steps[event.key]);
    else if (event.key === 'Enter' && this.#rows[this.#active]) this.options.onToggle(this.#rows[this.#active]);
    else return;
    event.preventDefault();
  }

  #activate(index) {
    if (this.#rows.length === 0) return;
    this.#active = Math.min(this.#rows.length - 1, Math.max(0, index));
    this.#reveal(this.#active, 0);
    this.#draw();
  }

  /** Scrolls as little as it takes to see a row and what is below it; the row itself comes first. */
  #reveal(index, below) {
    const head = this.head.offsetHeight;
    const top = this.#top(index);
    const bottom = top + this.#rowHeight + below;
    const seen = this.element.clientHeight - head;
    let to = this.element.scrollTop;
    if (bottom > to + seen) to = bottom - seen;
    if (top < to) to = top;
    this.element.scrollTop = to;
  }
}
