// The page's beginning: makes the views, follows the address, and tells how the connection fares.

import { element, code, setText } from './elements.js';
import { ChainView } from './chain.js';
import { KeysView } from './keys.js';
import { LiveView } from './live.js';
import { Model } from './model.js';
import { ProblemsView } from './problems.js';
import { ServerView } from './server.js';
import { Tabs } from './tabs.js';
import { batchSentence, nameFilesFrom } from './texts.js';

const connectionTexts = {
  waiting: 'Connecting',
  open: 'Connected',
  lost: 'Connection lost',
  full: 'Not connected',
  refused: 'Access ended',
};

const byId = (id) => document.getElementById(id);
const model = new Model();

/** Goes to a view and, in some, to a key; the address tells of both. @param {string[]} parts "keys", "a key" */
function navigate(parts) {
  location.hash = parts.map(encodeURIComponent).join('/');
}

const views = {
  keys: new KeysView(model, byId('view-keys'), navigate),
  chain: new ChainView(model, byId('view-chain'), navigate),
  live: new LiveView(model, byId('view-live')),
  server: new ServerView(model, byId('view-server')),
  problems: new ProblemsView(model, byId('view-problems'), byId('tab-problems')),
};
/** Where each view was left, as an address. */
const places = {};
const tabs = new Tabs(document.querySelector('[role=tablist]'), (name) => { location.hash = places[name] ?? name; });

function follow() {
  const [name, ...rest] = location.hash.slice(1).split('/').map(decoded);
  const view = Object.hasOwn(views, name) ? name : 'keys';
  places[view] = location.hash.slice(1);
  tabs.show(view);
  model.show(view);
  views[view].show(rest.length > 0 && rest[0] !== '' ? rest.join('/') : undefined);
}

/** A key of the address can be opened once there are rows. */
function followOnceRead() {
  if (!model.loaded.has('keys')) return;
  model.removeEventListener('keys', followOnceRead);
  if (location.hash && !byId('view-keys').hidden) follow();
}

/** A part of an address that somebody has typed may be no encoding of a text; it stands for itself then. */
function decoded(part) {
  try {
    return decodeURIComponent(part);
  } catch {
    return part;
  }
}

function showAbout() {
  const { version, configDirectory, process, reveal } = model.about;
  nameFilesFrom(configDirectory);
  byId('about').replaceChildren(code(configDirectory),
    element('span', { class: 'quiet' }, `process ${process}, version ${version}`),
    ...(reveal ? [element('strong', { class: 'reveal' }, 'sensitive values are shown')] : []));
}

function showConnection() {
  const node = byId('connection');
  node.dataset.state = model.connection;
  setText(node, connectionTexts[model.connection]);
  showBanner();
}

function showBanner() {
  const sentences = {
    lost: 'The connection to the tool is lost. What is shown may be out of date; it is loaded anew as soon as the tool answers; or start '
      + '“corvidctl inspect” again, which prints a new link.',
    full: `${model.refusal} Then load this page anew; until then it does not follow what changes.`,
    refused: 'This page’s access has ended. Start “corvidctl inspect” again, and open the link that it prints.',
  };
  const sentence = sentences[model.connection] ?? [...model.failures.values()][0] ?? '';
  byId('banner').hidden = sentence === '';
  setText(byId('banner'), sentence);
}

/** "/" goes to the filter from wherever nobody is typing. */
function onKey(event) {
  if (event.key !== '/' || event.ctrlKey || event.altKey || event.metaKey || event.target.matches('input, select')) return;
  event.preventDefault();
  if (byId('view-keys').hidden) navigate(['keys']);
  tabs.show('keys');
  views.keys.focusFilter();
}

model.addEventListener('about', showAbout);
model.addEventListener('connection', showConnection);
model.addEventListener('failure', showBanner);
model.addEventListener('batch', ({ detail }) => setText(byId('announcer'), batchSentence(detail)));
addEventListener('hashchange', follow);
addEventListener('keydown', onKey);
follow();
model.addEventListener('keys', followOnceRead);
model.start();
