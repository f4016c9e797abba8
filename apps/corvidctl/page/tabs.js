// The row of tabs: arrows move along it, as in any list of tabs.

export class Tabs {
  /** @param {function(string)} onChoose the name of a view: "keys" */
  constructor(list, onChoose) {
    this.tabs = [...list.querySelectorAll('[role=tab]')];
    for (const tab of this.tabs) tab.addEventListener('click', () => onChoose(nameOf(tab)));
    list.addEventListener('keydown', (event) => {
      const at = this.tabs.indexOf(event.target);
      const steps = { ArrowRight: at + 1, ArrowLeft: at - 1, Home: 0, End: this.tabs.length - 1 };
      if (at < 0 || !(event.key in steps)) return;
      event.preventDefault();
      const tab = this.tabs[(steps[event.key] + this.tabs.length) % this.tabs.length];
      tab.focus();
      onChoose(nameOf(tab));
    });
  }

  /** Shows a view and marks its tab. */
  show(name) {
    for (const tab of this.tabs) {
      const isIt = nameOf(tab) === name;
      tab.setAttribute('aria-selected', isIt);
      tab.tabIndex = isIt ? 0 : -1;
      document.getElementById(tab.getAttribute('aria-controls')).hidden = !isIt;
    }
  }
}

function nameOf(tab) {
  return tab.id.replace('tab-', '');
}
