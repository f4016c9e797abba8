// The view of changes as they come, grouped by batch.

import { button, code, element, setText, timeElement } from './elements.js';
import { changeOf } from './detail.js';
import { clock, count } from './texts.js';

/** Batches that are drawn, and changes of a batch; more on demand. */
const drawnBatches = 100;
const drawnChanges = 20;

export class LiveView {
  #pausedAt = Infinity;      // number of the last batch that is shown; Infinity: it goes on
  #filter = '';
  #cause = '';
  #isDirty = true;
  #limit = drawnBatches;

  constructor(model, root) {
    this.model = model;
    this.root = root;
    this.list = element('div', { class: 'batches', role: 'log', 'aria-label': 'Changes, newest first', 'aria-live': 'off' });
    this.summary = element('p', { class: 'summary' });
    this.empty = element('p', { class: 'empty' });
    this.older = button('', () => { this.#limit += drawnBatches; this.#drawAll(); }, { class: 'quiet', hidden: true });
    root.append(this.#makeTools(), this.empty, this.list, this.older);
    model.addEventListener('batches', () => this.#drawAll());
    model.addEventListener('batch', ({ detail }) => this.#take(detail));
  }

  show() {
    if (this.#isDirty) this.#drawAll();
  }

  #makeTools() {
    this.pause = button('Pause', () => this.#togglePause(), { 'aria-pressed': 'false' });
    const filter = element('input', { type: 'search', id: 'live-filter', placeholder: 'key, value or store', autocomplete: 'off' });
    filter.addEventListener('input', () => { this.#filter = filter.value.toLowerCase(); this.#drawAll(); });
    this.causes = element('select', { id: 'live-cause' }, element('option', { value: '' }, 'every cause'));
    this.causes.addEventListener('change', () => { this.#cause = this.causes.value; this.#drawAll(); });
    return element('div', { class: 'tools' },
      element('label', { class: 'field', for: 'live-filter' }, 'Filter', filter),
      element('label', { class: 'field', for: 'live-cause' }, 'Cause', this.causes), this.pause, this.summary);
  }

  get #isPaused() {
    return this.#pausedAt !== Infinity;
  }

  #togglePause() {
    this.#pausedAt = this.#isPaused ? Infinity : this.model.batches.at(-1)?.batch ?? 0;
    this.pause.setAttribute('aria-pressed', this.#isPaused);
    this.#drawAll();
  }

  #take(batch) {
    if (this.root.hidden) this.#isDirty = true;
    else if (!this.#isPaused) this.#addBatch(batch);
    this.#addCause(batch.cause);
    this.#showNumbers();
  }

  #addBatch(batch) {
    if (this.#isWanted(batch)) this.list.prepend(this.#batchElement(batch));
    while (this.list.children.length > this.#limit) this.list.lastChild.remove();
    this.#offerOlder();
  }

  #drawAll() {
    this.#isDirty = this.root.hidden;
    this.model.batches.forEach(({ cause }) => this.#addCause(cause));
    if (!this.#isDirty) {
      const shown = this.#shownBatches();
      this.list.replaceChildren(...shown.slice(-this.#limit).reverse().map((batch) => this.#batchElement(batch)));
      this.#offerOlder(shown.length);
    }
    this.#showNumbers();
  }

  /** Those that the filter lets through, and that came before the pause; oldest first. */
  #shownBatches() {
    return this.model.batches.filter((batch) => batch.batch <= this.#pausedAt && this.#isWanted(batch));
  }

  #offerOlder(all = this.#shownBatches().length) {
    const left = all - this.list.children.length;
    this.older.hidden = left <= 0;
    setText(this.older, `Show older batches (${left.toLocaleString('en')})`);
  }

  #isWanted(batch) {
    return (this.#cause === '' || batch.cause === this.#cause) && batch.changes.some((change) => this.#matches(change));
  }

  #showNumbers() {
    const { dropped, batches } = this.model;
    const waiting = batches.filter(({ batch }) => batch > this.#pausedAt).length;
    setText(this.pause, this.#isPaused ? `Go on (${waiting} waiting)` : 'Pause');
    const lost = dropped.batches > 0 ? `, ${count(dropped.batches, 'older one')} forgotten` : '';
    setText(this.summary, `${count(batches.length, 'batch', 'batches')}${lost}`);
    this.empty.hidden = this.list.children.length > 0;
    setText(this.empty, batches.length === 0 ? 'No value has changed yet. Changes appear here as they come.'
      : 'No change is like that.');
  }

  #addCause(cause) {
    if ([...this.causes.options].some((option) => option.value === cause)) return;
    this.causes.append(element('option', { value: cause }, cause));
  }

  /** The batch with those of its changes that the filter lets through. */
  #batchElement(batch) {
    const changes = batch.changes.filter((change) => this.#matches(change));
    const body = element('tbody');
    const node = element('article', { class: 'batch', 'aria-label': `Batch ${batch.batch}` },
      element('h2', {}, timeElement(batch.time, clock(batch.time)),
        element('span', { class: 'cause', 'data-cause': batch.cause }, batch.cause),
        element('span', { class: 'quiet' }, `batch ${batch.batch}, ${count(batch.changes.length, 'change')}`)),
      element('table', {}, element('caption', { class: 'unseen' }, `Changes of batch ${batch.batch}`),
        element('thead', { class: 'unseen' }, element('tr', {},
          ...['Key', 'Change', 'Store'].map((title) => element('th', { scope: 'col' }, title)))), body));
    const more = button('', () => addChanges(500), { class: 'quiet' });
    const addChanges = (number) => {
      const from = body.children.length;
      body.append(...changes.slice(from, from + number).map(changeRow));
      const left = changes.length - body.children.length;
      setText(more, `Show more (${left.toLocaleString('en')})`);
      if (left === 0) more.remove();
    };
    node.append(more);
    addChanges(drawnChanges);
    return node;
  }

  #matches(change) {
    return this.#filter === '' || [change.key, change.oldValue, change.newValue, change.oldStore, change.newStore]
      .some((text) => text.toLowerCase().includes(this.#filter));
  }
}

function changeRow(change) {
  const moved = change.oldStore && change.newStore && change.oldStore !== change.newStore;
  return element('tr', {},
    element('th', { scope: 'row' }, element('a', { href: `#keys/${encodeURIComponent(change.key)}` }, code(change.key))),
    element('td', { class: 'long' }, ...changeOf(change)),
    element('td', {}, code(moved ? `${change.oldStore} → ${change.newStore}` : change.newStore || change.oldStore)));
}
