// The view of the call-control servers, and of how the file came from them.

import { order } from './api.js';
import { button, code, element, redraw, setText, timeElement } from './elements.js';
import { age, clock, count, duration } from './texts.js';

/** Cycles that the client remembers; of so many, the oldest may not be the first one. */
const keptCycles = 50;

const ends = {
  running: 'still running',
  delivered: 'delivered',
  unreadable: 'a file came that could not be read',
  exhausted: 'no server delivered',
  stalled: 'nothing came for too long',
  superseded: 'a newer cycle took over',
  failed: 'failed',
  dropped: 'dropped',
};

export class ServerView {
  constructor(model, root) {
    this.model = model;
    this.state = element('p', { class: 'lead', role: 'status' });
    this.answer = element('p', { class: 'failure', role: 'alert', hidden: true });
    this.fetch = button('Fetch again', () => this.#fetch(), { class: 'main' });
    this.content = element('div');
    root.append(element('div', { class: 'tools' }, this.state, this.fetch), this.answer, this.content);
    model.addEventListener('server', () => this.#draw());
  }

  show() {}

  async #fetch() {
    this.answer.hidden = true;
    this.fetch.disabled = true;
    try {
      await order('fetch', {});
      this.state.textContent = 'The servers are asked once more …';
    } catch (failure) {
      this.answer.textContent = failure.message;
      this.answer.hidden = false;
    }
    this.fetch.disabled = false;
    this.fetch.focus();
  }

  #draw() {
    const server = this.model.server;
    if (server.servers.length > 0) this.answer.hidden = true;  // what it said is out of date
    setText(this.state, sentence(server));
    redraw(this.content, facts(server), serversTable(server.servers),
      element('h2', {}, 'Last cycles'), ...cycles(server.cycles));
  }
}

function sentence(server) {
  const [newest] = server.cycles;
  if (server.servers.length === 0) return 'No server is known.';
  if (!server.settled || newest?.end === 'running') return 'The servers are being asked …';
  if (!newest) return 'The servers have not been asked.';
  return newest.end === 'delivered' ? `The file was delivered, with ${count(newest.keys, 'key')}.`
    : `The last cycle ended without a file: ${ends[newest.end] ?? newest.end}.`;
}

function facts(server) {
  const list = element('dl', { class: 'facts' });
  const add = (term, ...details) => list.append(element('div', {}, element('dt', {}, term), element('dd', {}, ...details)));
  add('Version', server.version ? code(server.version) : 'not known',
    server.versionSource ? element('span', { class: 'quiet' }, ` ${server.versionSource}`) : null);
  add('File', server.file ? code(server.file) : 'not known');
  if (server.last && !server.last.ok && server.last.reason) add('Reason', server.last.reason);
  return list;
}

function serversTable(servers) {
  if (servers.length === 0) {
    return element('p', { class: 'empty' }, 'No store names a server: set TFTPPrimaryServer, or let the installer do it.');
  }
  const rows = servers.map((server) => element('tr', {},
    element('th', { scope: 'row' }, code(server.address)),
    element('td', {}, element('a', { href: `#keys/${encodeURIComponent(server.key)}` }, code(server.key))),
    element('td', {}, code(server.store))));
  return element('table', {}, element('caption', {}, 'Servers, in the order in which they are asked'),
    element('thead', {}, element('tr', {}, ...['Address', 'Named by the key', 'In the store']
      .map((title) => element('th', { scope: 'col' }, title)))), element('tbody', {}, ...rows));
}

function cycles(all) {
  if (all.length === 0) return [element('p', { class: 'empty' }, 'There has been none.')];
  return all.map((cycle, index) => element('article', { class: 'cycle', 'data-end': cycle.end },
    element('h3', {}, endMark(cycle.end), timeElement(cycle.began, clock(cycle.began)),
      element('span', { class: 'quiet' }, [age(cycle.began), duration(cycle.began, cycle.ended),
        reason(cycle, index === all.length - 1 && all.length < keptCycles), cycle.end === 'delivered' ? count(cycle.keys, 'key') : ''].filter(Boolean).join(', '))),
    element('ol', {}, ...cycle.versionQueries.map(versionQuery), ...cycle.attempts.map(attempt))));
}

/** What a cycle began for. The client's start asks for one as people do. */
function reason(cycle, isFirst) {
  if (!cycle.forced) return '';
  return isFirst ? 'at the start' : 'asked for';
}

function endMark(end) {
  return element('span', { class: 'end', 'data-end': end }, ends[end] ?? end);
}

function versionQuery(query) {
  return element('li', {}, 'Version of ', code(query.address), ': ',
    query.version ? code(query.version) : query.answered ? 'no usable answer' : 'no answer');
}

function attempt(one) {
  return element('li', {}, code(one.url || one.address), ' ', endMark(one.end),
    one.result && one.result !== one.end ? element('span', { class: 'quiet' }, ` ${one.result}`) : null,
    one.end === 'running' ? element('span', { class: 'quiet' }, `, for at most ${one.timeoutSeconds} s`) : null);
}
