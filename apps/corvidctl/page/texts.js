// Sentences and figures for people.

const collator = new Intl.Collator('en', { numeric: true, sensitivity: 'base' });

/** Orders texts as people do: without regard to case, and numbers by their size. */
export const compareTexts = collator.compare;

/** Whether two names are of the same key: their case tells nothing, and a store may write another than the next. */
export function isSameName(one, other) {
  return one?.toLowerCase() === other?.toLowerCase();
}

/** "1 key", "10,000 keys". @param {string} word in the singular */
export function count(number, word, plural = `${word}s`) {
  return `${number.toLocaleString('en')} ${number === 1 ? word : plural}`;
}

/** How long ago a time was, in one unit. @param {string|null} time ISO 8601; null: it is not known */
export function age(time, now = Date.now()) {
  if (!time) return '';
  const seconds = Math.floor((now - Date.parse(time)) / 1000);
  if (seconds < 5) return 'just now';
  if (seconds < 60) return `${seconds} s ago`;
  if (seconds < 3600) return `${Math.floor(seconds / 60)} min ago`;
  if (seconds < 48 * 3600) return `${Math.floor(seconds / 3600)} h ago`;
  return `${Math.floor(seconds / 86400)} days ago`;
}

/** The time of the day, to the second. @param {string} time ISO 8601 */
export function clock(time) {
  return new Date(time).toLocaleTimeString('en-GB');
}

/** How long something took. @param {string|null} ended null: it has not ended */
export function duration(began, ended) {
  if (!began || !ended) return '';
  const milliseconds = Date.parse(ended) - Date.parse(began);
  return milliseconds < 1000 ? `${milliseconds} ms` : `${(milliseconds / 1000).toFixed(1)} s`;
}

/** What a store is like: "read-only", "local", "cached". @param {Object} store a Store or a Layer */
export function kinds(store) {
  return [store.isReadOnly ? 'read-only' : 'writable', store.isLocal ? 'local' : 'profile',
    ...(store.isCached ? ['cached'] : [])];
}

/** The configuration directory: what lies in it is named from there on. */
let home = '';

export function nameFilesFrom(directory) {
  home = directory.endsWith('/') ? directory : `${directory}/`;
}

/** A file as people see it: from the configuration directory on, or whole if it lies elsewhere. */
export function shownFile(path) {
  return home.length > 1 && path.startsWith(home) ? path.slice(home.length) : path;
}

/** Where a layer's value stands: "file:line", or where it came from. */
export function place(layer) {
  if (!layer.file) return layer.url || '';
  return layer.line ? `${shownFile(layer.file)}:${layer.line}` : shownFile(layer.file);
}

/** A text that is short enough for a row. What is longer is whole where the row is opened. */
export function shortened(text, limit = 300) {
  return text.length > limit ? `${text.slice(0, limit)}…` : text;
}

/** A value in a sentence. */
export function quoted(text) {
  return `"${shortened(text, 80)}"`;
}

/** What a batch is, in a sentence for those who hear it. @param {Object} batch a Batch */
export function batchSentence(batch) {
  const keys = batch.changes.slice(0, 3).map((change) => change.key).join(', ');
  const more = batch.changes.length > 3 ? ` and ${batch.changes.length - 3} more` : '';
  return `${count(batch.changes.length, 'change')} by ${batch.cause}: ${keys}${more}`;
}

/**
 * The truth about what came of storing or erasing a user's value.
 * @param {Object} write a UserWrite with remarks
 * @param {string|null} value what was to be stored; null: the user's value was to be erased
 * @returns {string[]} sentences, the most important first
 */
export function writeSentences(write, value) {
  const happened = value === null ? write.removedFrom.length > 0 : write.storedIn !== null;
  const sentences = happened ? [value === null ? erased(write) : stored(write, value)] : [];
  if (!happened && value === null) sentences.push(`There is no user's value of ${write.key} to erase; ${winner(write)}`);
  sentences.push(...write.remarks);
  if (happened && value !== null && write.isPersisted && write.file) sentences.push(`It is kept in ${shownFile(write.file)}.`);
  return sentences;
}

function stored(write, value) {
  if (!write.isEffective) return `The value is stored in ${write.storedIn}, without effect.`;
  return `${write.key} is ${write.isSensitive ? 'the new value' : quoted(value)}: ${write.storedIn} has it and wins.`;
}

function erased(write) {
  return `The user's value is erased from ${write.removedFrom.join(' and ')}; ${winner(write)}`;
}

function winner(write) {
  if (!write.isDefined) return 'no store holds the key now.';
  return `${write.valueStoreName} wins with ${write.isSensitive ? 'a value that is not shown' : quoted(write.value)}.`;
}
