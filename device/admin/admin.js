'use strict';
// Reads and writes the documents that every host can use; the browser asks for the login when the
// scanner wants one. What the documents say is only ever set as text.

const CONFIGURATION = '/DevMgmt/ProductConfigDyn.xml';
const STATUS = '/DevMgmt/ProductStatusDyn.xml';
const ESCL = '/eSCL/eSCLConfig';
const APPLICATIONS = '/DevMgmt/NetAppsDyn.xml';
const SECURITY = '/DevMgmt/SecurityDyn.xml';
const PASSWORD = '/administrator/password';

const $ = (id) => document.getElementById(id);

const REASONS = {
  401: 'Only the administrator may do this.',
  403: 'Without a password only somebody at the scanner\'s own machine may do this.',
  429: 'Too many wrong passwords. Wait a moment.',
  503: 'The scanner is busy. Try again.',
};

async function ask(path, options = {}) {
  let response;
  try {
    response = await fetch(path, { cache: 'no-store', ...options });
  } catch {
    throw new Error('The scanner does not answer.');
  }
  if (!response.ok) throw new Error(REASONS[response.status] || `The scanner refused: ${(await response.text()).trim()}`);
  return response;
}

async function read(path) {
  const text = await (await ask(path)).text();
  const parsed = new DOMParser().parseFromString(text, 'text/xml');
  if (parsed.querySelector('parsererror')) throw new Error(`${path} cannot be read.`);
  return parsed;
}

/** Elements by their name without a prefix, in every namespace. */
const all = (parent, name) => [...parent.getElementsByTagNameNS('*', name)];
const textOf = (parent, name) => all(parent, name)[0]?.textContent ?? '';

/** A new document with the root of another; `build(make)` appends to what make gives. */
function like(original, build) {
  const root = original.documentElement;
  const made = document.implementation.createDocument(root.namespaceURI, root.nodeName);
  const make = (parent, name, text) => {
    const prefix = name.split(':')[0];
    const element = made.createElementNS(root.lookupNamespaceURI(prefix), name);
    if (text != null) element.textContent = text;
    parent.append(element);
    return element;
  };
  build(made.documentElement, make);
  return `<?xml version="1.0" encoding="UTF-8"?>${new XMLSerializer().serializeToString(made)}`;
}

const put = (path, body, type = 'text/xml') => ask(path, { method: 'PUT', body, headers: { 'Content-Type': type } });

function tell(problem, done = null) {
  for (const [id, text] of [['problem', problem], ['done', done]]) {
    $(id).hidden = !text;
    $(id).textContent = text || '';
  }
}

function showPairs(id, pairs) {
  $(id).replaceChildren(...pairs.filter(([, value]) => value !== '').flatMap(([name, value]) => {
    const term = document.createElement('dt');
    const detail = document.createElement('dd');
    term.textContent = name;
    detail.textContent = value;
    return [term, detail];
  }));
}

function fillSelect(id, values, chosen) {
  const known = values.includes(chosen) || chosen === '' ? values : [chosen, ...values];
  $(id).replaceChildren(...known.map((value) => {
    const words = value.replace(/_/g, ' ').replace(/([0-9])([a-z])/g, '$1 $2');
    return new Option(words, value, false, value === chosen);
  }));
}

// --- what is shown -------------------------------------------------------------------------------

let configuration = null;

async function showConfiguration() {
  configuration = await read(CONFIGURATION);
  const choices = await read('/DevMgmt/ProductConfigCap.xml');
  const of = (name) => textOf(configuration, name);
  const information = all(configuration, 'ProductInformation')[0] ?? configuration;
  $('model').textContent = document.title = of('MakeAndModel') || 'Scanner';
  $('asset-line').textContent = of('AssetNumber');
  showPairs('identity', [
    ['Product number', of('ProductNumber')], ['Serial number', of('SerialNumber')],
    ['Service number', of('ServiceID')], ['UUID', of('UUID')],
    ['Firmware', `${textOf(information, 'Revision')} ${textOf(information, 'Date')}`.trim()],
    ['Memory', of('TotalMemory')],
  ]);
  $('asset').value = of('AssetNumber');
  const offered = (name) => all(choices, name).map((element) => element.textContent);
  fillSelect('sleep', offered('PowerSaveTimeout'), of('PowerSaveTimeout'));
  fillSelect('off', offered('AutoOffTime'), of('AutoOffTime'));
  fillSelect('language', offered('DeviceLanguage'), of('DeviceLanguage'));
}

const ALERTS = {
  scannerMaintenanceCleanRollersNeeded: 'The rollers are to be cleaned.',
  scannerMaintenanceReplaceRollersNeeded: 'The rollers are to be replaced.',
  scannerMaintenanceReplacePadNeeded: 'The pad is to be replaced.',
};

async function showStatus() {
  const [scanner, alerts] = [await read('/eSCL/ScannerStatus'), await read(STATUS)];
  showPairs('status', [['Scanner', textOf(scanner, 'State')], ['Feeder', textOf(scanner, 'AdfState').replace('ScannerAdf', '')]]);
  $('alerts').replaceChildren(...all(alerts, 'Alert').map((alert) => {
    const item = document.createElement('li');
    const button = document.createElement('button');
    const id = textOf(alert, 'ProductStatusAlertID');
    button.type = 'button';
    button.textContent = 'OK';
    button.addEventListener('click', () => change(() => acknowledge(alerts, alert), showStatus, 'Acknowledged.'));
    item.append(ALERTS[id] || id, button);
    return item;
  }));
}

/** A host acknowledges one alert at a time: the first of what it sends. */
function acknowledge(alerts, alert) {
  return put(STATUS, like(alerts, (root, make) => {
    make(make(root, 'dd:Version'), 'dd:Revision', textOf(alerts, 'Revision'));
    const table = make(root, 'psdyn:AlertTable');
    make(table, 'dd:ModificationNumber', textOf(alerts, 'ModificationNumber'));
    table.append(alert.cloneNode(true));
  }));
}

async function showUsage() {
  const usage = await read('/DevMgmt/ProductUsageDyn.xml');
  showPairs('usage', [
    ['Images', textOf(usage, 'ScanImages')], ['From the feeder', textOf(usage, 'AdfImages')],
    ['From the glass', textOf(usage, 'FlatbedImages')], ['Jams', textOf(usage, 'JamEvents')],
    ['Not picked', textOf(usage, 'MispickEvents')], ['Two at once', textOf(usage, 'MultipickEvents')],
  ]);
}

let escl = null;
async function showEscl() {
  escl = await read(ESCL);
  $('escl-on').checked = textOf(escl, 'State') === 'enabled';
}

let applications = null;
async function showNetwork() {
  applications = await read(APPLICATIONS);
  $('service-name').value = textOf(applications, 'ApplicationServiceName');
  $('host-name').value = textOf(applications, 'DomainName');
  $('network').hidden = false;
  $('network-show').hidden = true;
}

async function showPassword() {
  const set = (await (await ask(PASSWORD)).text()).trim() === 'set';
  $('password-state').textContent = set
    ? 'A password is set. Every change of the scanner asks for it, user name “admin”.'
    : 'No password is set: anybody on the network can change the open settings.';
  $('password-plain').hidden = location.protocol === 'https:' || ['localhost', '127.0.0.1', '[::1]'].includes(location.hostname);
}

// --- what is changed -----------------------------------------------------------------------------

async function change(work, after, done) {
  tell(null);
  try {
    await work();
    await after();
    if (done) tell(null, done);
  } catch (error) {
    tell(error.message);
  }
}

/** Only what was changed is sent: the scanner applies each element by itself. */
function saveSettings() {
  return put(CONFIGURATION, like(configuration, (root, make) => {
    const settings = make(root, 'prdcfgdyn2:ProductSettings');
    const was = (name) => textOf(configuration, name);
    const entries = [['AssetNumber', 'asset'], ['PowerSaveTimeout', 'sleep'], ['AutoOffTime', 'off']];
    for (const [name, id] of entries) if ($(id).value !== was(name)) make(settings, `dd:${name}`, $(id).value);
    if ($('language').value !== was('DeviceLanguage')) make(make(settings, 'prdcfgdyn:ProductLanguage'), 'dd:DeviceLanguage', $('language').value);
  }));
}

const saveEscl = () => put(ESCL, like(escl, (root, make) => make(root, 'scan:State', $('escl-on').checked ? 'enabled' : 'disabled')));

function saveNetwork() {
  return put(APPLICATIONS, like(applications, (root, make) => {
    const names = make(root, 'nadyn:DNSSDConfig');
    const was = (name) => textOf(applications, name);
    if ($('service-name').value !== was('ApplicationServiceName')) make(names, 'dd:ApplicationServiceName', $('service-name').value);
    if ($('host-name').value !== was('DomainName')) make(names, 'dd3:DomainName', $('host-name').value);
  }));
}

async function savePassword() {
  if ($('new').value !== $('again').value) throw new Error('The two passwords differ.');
  if ($('new').value === '' && !window.confirm('Remove the password? Anybody can change the scanner then.')) throw new Error('Nothing was changed.');
  await put(PASSWORD, $('new').value, 'text/plain; charset=utf-8');
  $('password').reset();
}

async function savePages() {
  const security = await read(SECURITY);
  await put(SECURITY, like(security, (root, make) => make(root, 'dd:Password', $('pages-new').value)));
  $('pages').reset();
}

const FORMS = {
  settings: [saveSettings, showConfiguration, 'Settings saved.'],
  escl: [saveEscl, showEscl, 'Saved.'],
  network: [saveNetwork, showNetwork, 'Names saved.'],
  password: [savePassword, showPassword, 'Password changed.'],
  pages: [savePages, async () => {}, 'Password of the web pages changed.'],
};
for (const [id, steps] of Object.entries(FORMS)) {
  $(id).addEventListener('submit', async (event) => {
    event.preventDefault();
    const button = $(id).querySelector('button');
    button.disabled = true;
    await change(...steps);
    button.disabled = false;
  });
}
$('network-show').addEventListener('click', () => change(showNetwork, async () => {}, null));

change(async () => {
  for (const part of [showConfiguration, showStatus, showUsage, showEscl, showPassword]) await part();
}, async () => {}, null);
setInterval(() => { if (!document.hidden) showStatus().catch((error) => tell(error.message)); }, 5000);
