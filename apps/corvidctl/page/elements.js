// Making parts of the document. Texts become text nodes and never markup, so that a value is shown and cannot act.

const svgNamespace = 'http://www.w3.org/2000/svg';

/**
 * An element with its attributes and children.
 * @param {string} tag a name of HTML
 * @param {Object<string, string|number|boolean|null>} attributes true: present without a value; false, null: absent
 * @param {...(Node|string|null)} children strings become text; null is left out
 */
export function element(tag, attributes = {}, ...children) {
  return filled(document.createElement(tag), attributes, children);
}

/** As element(), of SVG. */
export function drawing(tag, attributes = {}, ...children) {
  return filled(document.createElementNS(svgNamespace, tag), attributes, children);
}

function filled(node, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (value === false || value === null || value === undefined) continue;
    node.setAttribute(name, value === true ? '' : String(value));
  }
  node.append(...children.filter((child) => child !== null && child !== undefined));
  return node;
}

/** A button that does something when it is pressed. */
export function button(text, action, attributes = {}) {
  const node = element('button', { type: 'button', ...attributes }, text);
  node.addEventListener('click', action);
  return node;
}

/** A text from a store: monospaced, and isolated, so that right-to-left letters turn nothing around it. */
export function code(text, className = '') {
  return element('bdi', { class: `code ${className}`.trim() }, text);
}

/** The state of a key as a word with a small mark beside it. @param {string} state as the interface has it */
export function stateMark(state) {
  return element('span', { class: 'state', 'data-state': state }, state);
}

/** A time as people see it, with the whole of it in the title. @param {string|null} time ISO 8601 */
export function timeElement(time, text) {
  return time ? element('time', { datetime: time, title: new Date(time).toLocaleString() }, text) : element('span', {}, text);
}

/** Sets a text only if it differs, so that the browser lays out nothing for the same. */
export function setText(node, text) {
  if (node.textContent !== text) node.textContent = text;
}

/** What somebody who uses the keyboard would call an element. */
function callOf(node) {
  return [node.tagName, node.getAttribute('href'), node.getAttribute('aria-label') ?? node.textContent].join('\n');
}

/**
 * Puts other children into a node. What is the same stays, and with it what somebody has selected there; the focus goes
 * to what is called as that which had it.
 */
export function redraw(node, ...children) {
  const focused = node.contains(document.activeElement) ? document.activeElement : null;
  const call = focused && callOf(focused);
  children.forEach((child, index) => {
    const old = node.childNodes[index];
    if (!old) node.append(child);
    else if (!old.isEqualNode(child)) old.replaceWith(child);
  });
  while (node.childNodes.length > children.length) node.lastChild.remove();
  if (!focused || focused.isConnected) return;
  [...node.querySelectorAll('a, button, [tabindex]')].find((one) => callOf(one) === call)?.focus({ preventScroll: true });
}
