// What the page knows, kept current by the tool's events. Views listen, and draw what they show.

import { ask } from './api.js';

/** How long to wait, in milliseconds, after the tool has refused the stream. */
const retryAfter = 2000;

/** Batches that are remembered; older ones are forgotten. */
const rememberedBatches = 500;

/**
 * Lets one piece of work run at a time; whoever asks meanwhile gets one more run afterwards, for all of them together.
 * @param {function(): Promise} work does not throw
 */
export function oneAtATime(work) {
  let running = null;
  let again = false;
  const run = async () => {
    do {
      again = false;
      await work();
    } while (again);
    running = null;
  };
  return () => {
    again = running !== null;
    running ??= run();
    return running;
  };
}

/**
 * Events: "about", "keys", "stores", "batches", "server", "problems" when that part is new; "batch" (detail: Batch) when
 * one has come; "connection" and "failure" when what they tell has changed.
 */
export class Model extends EventTarget {
  about = null;
  keys = [];                 // rows in the order of the answer
  stores = [];
  batches = [];              // oldest first
  dropped = { batches: 0, changes: 0 };
  server = null;
  problems = [];
  connection = 'waiting';    // waiting, open, lost, refused
  failure = '';              // why something could not be read; empty: nothing failed
  loaded = new Set();        // parts that have been read at least once

  #byName = new Map();       // rows; names are told apart without regard to case, as the stores do
  #asked = new Map();        // rows of keys that somebody asked for, and that no answer has named
  #newest = 0;               // number of the newest batch that came as an event
  #source = null;

  constructor() {
    super();
    this.refreshAbout = this.#part('about', 'about', (answer) => { this.about = answer; });
    this.refreshStores = this.#part('stores', 'stores', (answer) => { this.stores = answer.stores; });
    this.refreshServer = this.#part('server', 'server', (answer) => { this.server = answer; });
    this.refreshProblems = this.#part('problems', 'problems', (answer) => { this.problems = answer.problems; });
    this.refreshBatches = this.#part('batches', 'batches?since=0', (answer) => this.#takeBatches(answer));
    this.refreshKeys = this.#part('keys', 'keys', (answer) => this.#takeKeys(answer));
  }

  /** Reads the first view's part, and listens; the stream's beginning says that the other parts are to be read. */
  async start() {
    await Promise.all([this.refreshAbout(), this.refreshKeys()]);
    if (!document.hidden) this.#listen();
    // A browser has few connections for one server: a page that nobody sees gives its own back.
    document.addEventListener('visibilitychange', () => (document.hidden ? this.#pause() : this.#listen()));
  }

  /** Reads everything anew. */
  reload() {
    return Promise.all([this.refreshKeys(), this.refreshAbout(), this.refreshStores(), this.refreshBatches(),
      this.refreshServer(), this.refreshProblems()]);
  }

  /** The row of a key, or undefined. @param {string} key in any case */
  row(key) {
    return this.#byName.get(key.toLowerCase());
  }

  /** The row of a key, which is made if no answer has named the key. */
  askedRow(key) {
    if (!this.row(key)) {
      this.#asked.set(key, { key, value: '', originalValue: '', isOverridden: false, isDefined: false, valueStoreName: '',
        originalValueStoreName: '', isSensitive: false, state: 'undefined', since: null });
      this.#addRow(this.#asked.get(key));
      this.#tell('keys');
    }
    return this.row(key);
  }

  /** The work of reading one part of the interface. */
  #part(name, path, take) {
    return oneAtATime(async () => {
      try {
        take(await ask(path));
        this.loaded.add(name);
        this.#tell(name);
        this.#setFailure('');
      } catch (failure) {
        if (failure.status === 401) this.#setConnection('refused');
        // Without a connection there is a sentence on the page already.
        else if (failure.status !== 0) this.#setFailure(`Reading the ${name} failed. ${failure.message}`);
      }
    });
  }

  #takeKeys(answer) {
    const before = this.#byName;
    this.keys = [];
    this.#byName = new Map();
    for (const row of answer.keys) {
      row.changedAt = before.get(row.key.toLowerCase())?.changedAt;
      this.#addRow(row);
    }
    for (const [key, row] of this.#asked) {
      if (this.row(key)) this.#asked.delete(key);
      else this.#addRow(row);
    }
    if (answer.last < this.#newest) this.refreshKeys();
  }

  #addRow(row) {
    // Filters look here at every letter that is typed.
    row.searched = `${row.key}\n${row.value}\n${row.originalValue}\n${row.valueStoreName}`.toLowerCase();
    this.keys.push(row);
    this.#byName.set(row.key.toLowerCase(), row);
  }

  #takeBatches(answer) {
    this.batches = answer.batches;
    this.dropped = { batches: answer.droppedBatches, changes: answer.droppedChanges };
  }

  #pause() {
    this.#source?.close();
    this.#source = null;
    if (this.connection !== 'refused') this.#setConnection('waiting');
  }

  #listen() {
    if (this.#source || this.connection === 'refused') return;
    const source = new EventSource('/api/events');
    this.#source = source;
    const on = (name, take) => source.addEventListener(name, (event) => take(JSON.parse(event.data)));
    on('batch', (batch) => this.#takeBatch(batch));
    on('server', (server) => { this.server = server; this.loaded.add('server'); this.#tell('server'); });
    on('chain', () => { this.refreshStores(); this.refreshProblems(); this.refreshKeys(); });
    on('reload', () => this.reload());
    source.addEventListener('open', () => {
      // What happened before somebody listened is read now, and so is what was missed.
      this.reload();
      this.#setConnection('open');
    });
    source.addEventListener('error', () => this.#lost(source));
  }

  /** The browser tries again by itself, unless it was answered with a refusal. */
  #lost(source) {
    if (source !== this.#source) return;
    this.#setConnection('lost');
    if (source.readyState !== EventSource.CLOSED) return;
    setTimeout(async () => {
      if (source !== this.#source) return;
      try {
        await ask('about');
        this.#source = null;
        this.#listen();
      } catch (failure) {
        if (failure.status === 401) this.#setConnection('refused');
        else this.#lost(source);
      }
    }, retryAfter);
  }

  #takeBatch(batch) {
    if (this.batches.some((known) => known.batch === batch.batch)) return;
    this.#newest = Math.max(this.#newest, batch.batch);
    this.batches.push(batch);
    if (this.batches.length > rememberedBatches) this.batches.shift();
    for (const change of batch.changes) this.#takeChange(change, batch.time);
    this.dispatchEvent(new CustomEvent('batch', { detail: batch }));
    this.#tell('keys');
    // A change tells of the value; the administrator's and the state come with the whole list.
    this.refreshKeys();
    this.refreshStores();
    this.refreshProblems();
  }

  #takeChange(change, time) {
    const row = this.row(change.key);
    if (!row) return;
    row.value = change.newValue;
    row.valueStoreName = change.newStore;
    row.isDefined = change.newStore !== '';
    row.since = time;
    row.changedAt = performance.now();
  }

  #setConnection(state) {
    if (this.connection === state || this.connection === 'refused') return;
    this.connection = state;
    if (state === 'refused') this.#source?.close();
    this.#tell('connection');
  }

  #setFailure(sentence) {
    if (this.failure === sentence) return;
    this.failure = sentence;
    this.#tell('failure');
  }

  #tell(name) {
    this.dispatchEvent(new Event(name));
  }
}
