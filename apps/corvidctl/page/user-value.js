// Storing and erasing the user's value of a key, with the truth about what it does.

import { order } from './api.js';
import { button, element } from './elements.js';
import { writeSentences } from './texts.js';

/** A key that no store has is not known to be sensitive; its name may tell. */
const secretNames = /password|token|secret/i;

export class UserValueForm {
  #key = '';
  #isTouched = false;        // somebody has typed; what comes from the chain must not overwrite it

  constructor() {
    this.field = element('input', { type: 'text', id: 'user-value', autocomplete: 'off', spellcheck: 'false' });
    this.field.addEventListener('input', () => { this.#isTouched = true; });
    this.answer = element('div', { class: 'answer', role: 'status' });
    this.element = element('form', { class: 'user-value' },
      element('label', { class: 'field', for: 'user-value' }, 'The user’s value', this.field),
      element('div', { class: 'buttons' },
        element('button', { type: 'submit', class: 'main' }, 'Set'),
        button('Erase', () => this.#write('unset'))),
      this.answer);
    this.element.addEventListener('submit', (event) => {
      event.preventDefault();
      this.#write('set');
    });
  }

  /** Begins with another key. */
  show(key) {
    this.#key = key;
    this.#isTouched = false;
    this.field.value = '';
    // Until it is known, nobody beside may read what is typed.
    this.field.type = 'password';
    this.answer.replaceChildren();
  }

  /** The user's value that the chain has stands in the field, to be altered. */
  showExplanation(explanation) {
    const own = explanation.layers.find(isOfUser);
    const isHidden = own?.value === 'VALUE_HIDDEN';
    this.field.type = isHidden || explanation.isSensitive || secretNames.test(this.#key) ? 'password' : 'text';
    this.field.placeholder = isHidden ? 'set, and not shown' : own ? '' : 'not set';
    if (!this.#isTouched && document.activeElement !== this.field) this.field.value = isHidden ? '' : own?.value ?? '';
  }

  async #write(what) {
    const key = this.#key;
    const value = what === 'set' ? this.field.value : null;
    try {
      const write = await order(what, value === null ? { key } : { key, value });
      if (key !== this.#key) return;
      this.#isTouched = false;
      if (value === null) this.field.value = '';
      this.#say(writeSentences(write, value), write.isEffective ? 'good' : 'mind');
    } catch (failure) {
      this.#say([failure.message], 'bad');
    }
  }

  #say(sentences, tone) {
    this.answer.dataset.tone = tone;
    this.answer.replaceChildren(...sentences.map((sentence) => element('p', {}, sentence)));
  }
}

/** What the programs of the client put into memory is nobody's choice, though that store can be written. */
function isOfUser(layer) {
  return !layer.isReadOnly && layer.value !== null && layer.store !== 'InMemoryConfigStore';
}
