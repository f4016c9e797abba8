// The view of what is wrong, or may surprise.

import { code, element, redraw } from './elements.js';
import { count, place } from './texts.js';

const kinds = {
  'unreadable-file': 'Unreadable files',
  'no-server-answered': 'Nothing was fetched',
  'copy-in-use': 'Kept copies in use',
  'erased-by-policy': 'Erased by a policy',
  'shadowed-value': 'User’s values that wait behind another store',
  'not-on-disk': 'Not on disk',
};

export class ProblemsView {
  /** @param {HTMLElement} tab gets the number of problems */
  constructor(model, root, tab) {
    this.model = model;
    this.tab = tab;
    this.number = element('span', { class: 'number', hidden: true });
    tab.append(this.number);
    this.content = element('div', { class: 'problems' });
    root.append(this.content);
    model.addEventListener('problems', () => this.#draw());
  }

  show() {}

  #draw() {
    const { problems } = this.model;
    this.number.hidden = problems.length === 0;
    this.number.textContent = String(problems.length);
    this.number.dataset.severity = ['error', 'warning', 'info'].find((severity) =>
      problems.some((problem) => problem.severity === severity)) ?? '';
    this.tab.setAttribute('aria-label', problems.length ? `Problems, ${problems.length}` : 'Problems');
    if (problems.length === 0) {
      redraw(this.content, element('p', { class: 'empty' }, 'Nothing is wrong.'));
      return;
    }
    const known = new Set([...Object.keys(kinds), ...problems.map(({ kind }) => kind)]);
    redraw(this.content, ...[...known].map((kind) => group(kind, problems.filter((one) => one.kind === kind)))
      .filter(Boolean));
  }
}

function group(kind, problems) {
  if (problems.length === 0) return null;
  return element('section', { 'aria-label': kinds[kind] ?? kind },
    element('h2', {}, kinds[kind] ?? kind, element('span', { class: 'quiet' }, ` ${count(problems.length, 'problem')}`)),
    element('ul', {}, ...problems.map(problemItem)));
}

function problemItem(problem) {
  const where = place(problem);
  return element('li', { class: 'problem', 'data-severity': problem.severity },
    element('span', { class: 'severity' }, problem.severity),
    element('div', {}, element('p', {}, problem.text),
      element('p', { class: 'quiet' },
        problem.key ? element('a', { href: `#keys/${encodeURIComponent(problem.key)}` }, code(problem.key)) : null,
        problem.store ? element('a', { href: '#chain' }, code(problem.store)) : null,
        where ? code(where) : null)));
}
