// Storing and erasing the user's value of a key, with the truth about what it does.

import { order } from './api.js';
import { button, element } from './elements.js';
import { writeSentences } from './texts.js';

/** A key that no store has is not known to be sensitive; its name may tell. */
const secretNames = /password|token|secret/i;

export class UserValueForm {
  #key = '';
  #isTouched = false;        // somebody has typed; what comes from the chain must not overwrite it
  #value = null;             // what an untouched field stands for, letter by letter; null: that is not known, or hidden

  constructor() {
    // A line drops line feeds, so what has any stands in a field of several lines.
    this.line = this.#inputOf('input', { type: 'text' });
    this.lines = this.#inputOf('textarea', { rows: 3 });
    this.field = this.line;
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
    this.#fill(null);
    // Until it is known, nobody beside may read what is typed.
    this.line.type = 'password';
    this.answer.replaceChildren();
  }

  /** The user's value that the chain has stands in the field, to be altered. */
  showExplanation(explanation) {
    const own = explanation.layers.find(isOfUser);
    const isHidden = own?.value === 'VALUE_HIDDEN';
    const isSecret = isHidden || explanation.isSensitive || secretNames.test(this.#key);
    this.line.type = isSecret ? 'password' : 'text';
    this.lines.classList.toggle('dots', isSecret);
    const isFree = this.#value === null || document.activeElement !== this.field;
    if (!this.#isTouched && isFree) this.#fill(isHidden ? null : own?.value ?? '');
    this.field.placeholder = isHidden ? 'set, and not shown' : own ? '' : 'not set';
  }

  #inputOf(tag, attributes) {
    const input = element(tag, { id: 'user-value', autocomplete: 'off', spellcheck: 'false', ...attributes });
    input.addEventListener('input', () => { this.#isTouched = true; });
    return input;
  }

  #fill(value) {
    const field = /[\r\n]/.test(value ?? '') ? this.lines : this.line;
    if (field !== this.field) {
      const isFocused = document.activeElement === this.field;
      this.field.replaceWith(field);
      this.field = field;
      if (isFocused) field.focus();
    }
    this.#value = value;
    this.field.value = value ?? '';
  }

  async #write(what) {
    const key = this.#key;
    const value = what !== 'set' ? null : this.#isTouched ? this.field.value : this.#value;
    if (what === 'set' && value === null) {
      this.#say(['Nothing is stored: the value is not shown, and nobody has typed another one.'], 'mind');
      return;
    }
    const shown = this.field.value;
    try {
      const write = await order(what, value === null ? { key } : { key, value });
      if (key !== this.#key) return;
      if (this.field.value === shown) {  // else somebody has gone on typing
        this.#isTouched = false;
        if (value === null) this.#fill('');
        else this.#value = value;
      }
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
