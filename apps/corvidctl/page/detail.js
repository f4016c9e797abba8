// What a key's row opens to: why it reads as it does, what it was before, and the user's value.

import { ask } from './api.js';
import { button, code, element, redraw, timeElement } from './elements.js';
import { atMostEvery, oneAtATime, readAgainAfter } from './model.js';
import { age, clock, isSameName, kinds, place } from './texts.js';
import { UserValueForm } from './user-value.js';

export class KeyDetail {
  #key = null;

  /** @param {function()} close */
  constructor(model, close) {
    this.title = element('h2', { tabindex: -1 });
    this.way = element('a', { class: 'button' }, 'Its way through the chain');
    this.failure = element('p', { class: 'failure', role: 'alert', hidden: true });
    this.stack = element('div', { class: 'scrolled' });
    this.rules = element('ul', { class: 'rules' });
    this.changes = element('div', { class: 'scrolled' });
    this.form = new UserValueForm();
    this.element = element('section', { class: 'detail', 'aria-label': 'The opened key' },
      element('div', { class: 'detail-head' }, this.title, this.way,
        button('Close', close, { class: 'quiet', 'aria-keyshortcuts': 'Escape' })),
      this.failure, this.stack, this.rules, this.form.element,
      element('h3', {}, 'Recent changes'), this.changes);
    this.refresh = oneAtATime(() => this.#load());
    this.refreshSoon = atMostEvery(readAgainAfter, this.refresh);
    model.addEventListener('batch', ({ detail }) => {
      if (detail.changes.some(({ key }) => isSameName(key, this.#key))) this.refreshSoon();
    });
    model.addEventListener('keys', () => this.#key !== null && this.element.isConnected && this.refreshSoon());
  }

  show(key) {
    const isAnother = !isSameName(key, this.#key);
    if (key !== this.#key) this.#name(key);
    if (isAnother) this.#clear();
    this.refresh();
  }

  #name(key) {
    this.#key = key;
    this.title.replaceChildren(code(key));
    this.way.href = `#chain/${encodeURIComponent(key)}`;
  }

  #clear() {
    this.stack.replaceChildren();
    this.rules.replaceChildren();
    this.changes.replaceChildren();
    this.form.show(this.#key);
  }

  focus() {
    this.title.focus({ preventScroll: true });
  }

  async #load() {
    const key = this.#key;
    const query = `key=${encodeURIComponent(key)}`;
    try {
      const [explanation, history] = await Promise.all([ask(`explain?${query}`), ask(`history?${query}`)]);
      if (!isSameName(key, this.#key)) return;
      this.failure.hidden = true;
      this.#draw(explanation, history.changes);
    } catch (failure) {
      this.failure.textContent = failure.message;
      this.failure.hidden = false;
    }
  }

  #draw(explanation, changes) {
    redraw(this.stack, stackTable(explanation));
    redraw(this.rules, ...explanation.rules.map((rule) => element('li', {}, rule)));
    this.rules.hidden = explanation.rules.length === 0;
    redraw(this.changes, changes.length === 0
      ? element('p', { class: 'quiet' }, 'None since the inspector began.') : changesTable(changes));
    this.form.showExplanation(explanation);
  }
}

function headRow(...titles) {
  return element('thead', {}, element('tr', {}, ...titles.map((title) => element('th', { scope: 'col' }, title))));
}

function stackTable(explanation) {
  const rows = [];
  for (const name of explanation.lookedUp) {
    if (explanation.lookedUp.length > 1) {
      rows.push(element('tr', {}, element('th', { colspan: 7, scope: 'rowgroup' }, 'As ', code(name))));
    }
    rows.push(...explanation.layers.filter((layer) => layer.key === name).map(layerRow));
  }
  return element('table', { class: 'stack' },
    element('caption', { class: 'unseen' }, 'Store by store, in the order in which they are asked'),
    headRow('Part', 'Priority', 'Store', 'Kind', 'Value', 'Where', 'Age'), element('tbody', {}, ...rows));
}

function layerRow(layer) {
  return element('tr', { class: `layer-${layer.state}` },
    element('td', {}, element('span', { class: 'part', 'data-part': layer.state }, layer.state)),
    element('td', { class: 'figure' }, String(layer.priority)),
    element('th', { scope: 'row' }, code(layer.store)),
    element('td', {}, kinds(layer).join(', ')),
    element('td', { class: 'long' }, layer.value === null ? '–' : code(layer.value)),
    element('td', { class: 'where' }, code(place(layer)),
      layer.problem ? element('p', { class: 'failure' }, layer.problem) : null),
    element('td', { class: 'nowrap' }, timeElement(layer.time, age(layer.time))));
}

function changesTable(changes) {
  const rows = changes.toReversed().map((change) => element('tr', {},
    element('td', { class: 'nowrap' }, timeElement(change.time, clock(change.time))),
    element('td', {}, change.cause),
    element('td', { class: 'long' }, ...changeOf(change)),
    element('td', {}, code(change.newStore || '–'))));
  return element('table', {}, element('caption', { class: 'unseen' }, 'Recent changes, newest first'),
    headRow('Time', 'Cause', 'Value', 'Store'), element('tbody', {}, ...rows));
}

/** A change as nodes: from what to what; a missing value is named. @param {Object} change a JournalChange */
export function changeOf(change) {
  const side = (value, store) => (store === '' ? element('i', {}, 'undefined') : code(value));
  return [side(change.oldValue, change.oldStore), element('span', { class: 'arrow' }, ' → '),
    side(change.newValue, change.newStore)];
}

