// What the page knows, kept current by the tool's events. Views listen, and draw what they show.

import { ask, refusalOf } from './api.js';

/** How long to wait, in milliseconds, after the tool has refused the stream. */
const retryAfter = 2000;

/** How soon, in milliseconds, a page that is being left is hidden after it has lost its stream. */
const leftAfter = 100;

/** Milliseconds between two answers of the same kind while changes come one after another. */
export const readAgainAfter = 1000;

/** How long, in milliseconds, the number of problems may lag behind while nobody looks at them. */
const countedAfter = 3000;

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
 * Lets work that is wanted often run at most once in a while: at once if that is long enough ago, else when it is, for
 * all together who asked meanwhile.
 * @param {number} pause in milliseconds, from one start to the next
 */
export function atMostEvery(pause, work) {
  let begun = -Infinity;
  let isWaiting = false;
  const run = () => {
    isWaiting = false;
    begun = performance.now();
    work();
  };
  return () => {
    if (isWaiting) return;
    isWaiting = true;
    setTimeout(run, Math.max(0, begun + pause - performance.now()));
  };
}

/** Lets work run a while after the first who wants it, for all together who have asked by then. */
export function oneForAll(delay, work) {
  let timer = null;
  const run = () => {
    timer = null;
    work();
  };
  return () => { timer ??= setTimeout(run, delay); };
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
  connection = 'waiting';    // waiting, open, lost, full, refused
  refusal = '';              // why there is no stream, if the connection is full
  failures = new Map();      // part: why it could not be read
  loaded = new Set();        // parts that have been read at least once

  #byName = new Map();       // rows; names are told apart without regard to case, as the stores do
  #asked = new Map();        // rows of keys that somebody asked for, and that no answer has named
  #newest = 0;               // number of the newest batch that came as an event
  #source = null;
  #shown = '';
  #old = new Set();          // parts that are to be read when they are shown
  #isChainRead = false;      // the parts are being read as the stream has begun, which tells the same

  constructor() {
    super();
    this.refreshAbout = this.#part('about', 'about', (answer) => { this.about = answer; });
    this.refreshStores = this.#part('stores', 'stores', (answer) => { this.stores = answer.stores; });
    this.refreshServer = this.#part('server', 'server', (answer) => { this.server = answer; });
    this.refreshProblems = this.#part('problems', 'problems', (answer) => { this.problems = answer.problems; });
    this.refreshBatches = this.#part('batches', 'batches?since=0', (answer) => this.#takeBatches(answer));
    this.refreshKeys = this.#part('keys', 'keys', (answer) => this.#takeKeys(answer));
    this.keysSoon = atMostEvery(readAgainAfter, this.refreshKeys);
    this.storesSoon = atMostEvery(readAgainAfter, this.refreshStores);
    this.problemsSoon = atMostEvery(readAgainAfter, this.refreshProblems);
    this.problemsLater = oneForAll(countedAfter, () => this.#old.delete('problems') && this.problemsSoon());
  }

  /** The view that is seen: what only others show is not read anew at every change. @param {string} view "chain" */
  show(view) {
    this.#shown = view;
    this.#readShown();
  }

  #readShown() {
    if (this.#shown === 'chain' && this.#old.delete('stores')) this.storesSoon();
    if (this.#shown === 'problems' && this.#old.delete('problems')) this.problemsSoon();
  }

  #everythingIsOld() {
    this.keysSoon();
    this.#old.add('stores').add('problems');
    this.#readShown();
    if (this.#old.has('problems')) this.problemsLater();
  }

  /** Listens, and reads everything as soon as nothing that changes meanwhile can be missed. */
  start() {
    if (!document.hidden) this.#listen();
    // A browser has few connections for one server: a page that nobody sees gives its own back.
    document.addEventListener('visibilitychange', () => (document.hidden ? this.#pause() : this.#listen()));
  }

  /** Reads everything anew, but what each stream begins with. */
  reload() {
    return Promise.all([this.refreshKeys(), this.refreshAbout(), this.refreshStores(), this.refreshBatches(),
      this.refreshProblems()]);
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
        if (this.failures.delete(name)) this.#tell('failure');
      } catch (failure) {
        if (failure.status === 401) this.#setConnection('refused');
        // Without a connection there is a sentence on the page already.
        else if (failure.status !== 0) {
          this.failures.set(name, `Reading the ${name} failed. ${failure.message}`);
          this.#tell('failure');
        }
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
    if (answer.last < this.#newest) this.keysSoon();
  }

  #addRow(row) {
    // Filters look here at every letter that is typed.
    row.searched = `${row.key}\n${row.value}\n${row.originalValue}\n${row.valueStoreName}`.toLowerCase();
    this.keys.push(row);
    this.#byName.set(row.key.toLowerCase(), row);
  }

  #takeBatches(answer) {
    // An event may have come while the answer was on its way.
    const newer = this.batches.filter(({ batch }) => batch > answer.last);
    this.batches = [...answer.batches, ...newer];
    this.dropped = { batches: answer.droppedBatches, changes: answer.droppedChanges };
  }

  #pause() {
    this.#source?.close();
    this.#source = null;
    if (this.connection !== 'refused') this.#setConnection('waiting');
  }

  #listen() {
    if (this.#source || this.connection === 'refused') return;
    const source = new EventSource('api/events');
    this.#source = source;
    const on = (name, take) => source.addEventListener(name, (event) => take(JSON.parse(event.data)));
    on('batch', (batch) => this.#takeBatch(batch));
    on('server', (server) => { this.server = server; this.loaded.add('server'); this.#tell('server'); });
    on('chain', () => {
      if (!this.#isChainRead) this.#everythingIsOld();
      this.#isChainRead = false;
    });
    source.addEventListener('open', () => {
      // What happened before somebody listened is read now, and so is what was missed, however much. The stream's first
      // words ask for it.
      this.#isChainRead = true;
      this.reload();
      this.#setConnection('open');
    });
    source.addEventListener('error', () => this.#lost(source));
  }

  /** The browser tries again by itself, unless it was answered with a refusal. */
  async #lost(source) {
    if (source !== this.#source) return;
    if (source.readyState !== EventSource.CLOSED) {
      this.#setConnection('lost');
      return;
    }
    // A page that is being left loses its stream first: it asks for nothing then.
    await new Promise((resolve) => setTimeout(resolve, leftAfter));
    if (source !== this.#source) return;
    const { status, message } = await refusalOf('events');
    if (source !== this.#source) return;
    if (status === 401) this.#setConnection('refused');
    else if (status === 503) this.#doWithoutStream(message);
    else {
      this.#setConnection('lost');
      setTimeout(() => this.#listenAnew(source), retryAfter);
    }
  }

  #listenAnew(source) {
    if (source !== this.#source) return;
    this.#source = null;
    this.#listen();
  }

  /** There is one answer, and nothing is asked again until somebody comes back to the page. */
  #doWithoutStream(sentence) {
    this.refusal = sentence;
    this.#setConnection('full');
    this.reload();
    this.refreshServer();
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
    this.#everythingIsOld();
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

  #tell(name) {
    this.dispatchEvent(new Event(name));
  }
}
