// A virtual scanner of its own for each test, and a host that uses it.
import { execFile, spawn } from 'node:child_process';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { setTimeout as pause } from 'node:timers/promises';
import { promisify } from 'node:util';

const run = promisify(execFile);
const binaries = process.env.VARN_BINARIES;
/** The longest wait for anything; nothing takes this long. */
export const limit_ms = 30_000;

const escaped = (text) => text.replaceAll('&', '&amp;').replaceAll('<', '&lt;');

async function addressesOf(child) {
  const found = {};
  const late = setTimeout(() => child.kill(), limit_ms);
  for await (const line of createInterface({ input: child.stdout })) {
    if (line.startsWith('ready')) found.url = line.match(/http:\/\/[^ ]*[^ /]/)[0];
    if (line.startsWith('front panel')) found.panel = line.match(/http:\S*/)[0];
    if (found.url && found.panel) break;
  }
  clearTimeout(late);
  if (!found.panel) throw new Error('the scanner did not start');
  child.stdout.resume();
  return found;
}

export class Scanner {
  static async start() {
    const scanner = new Scanner();
    scanner.directory = await mkdtemp(join(tmpdir(), 'varn-panel.'));
    scanner.root = join(scanner.directory, 'root');
    scanner.child = spawn(join(binaries, 'varnd'), ['--root', scanner.root, '--port', '0'],
      { stdio: ['ignore', 'pipe', 'inherit'] });
    Object.assign(scanner, await addressesOf(scanner.child));
    return scanner;
  }

  async end() {
    const ended = new Promise((resolve) => { this.child.once('exit', resolve); });
    if (this.child.exitCode === null && this.child.kill()) await ended;
    await rm(this.directory, { recursive: true, force: true });
  }

  /** The hand of the person at the device. */
  ctl(...words) { return run(join(binaries, 'varnctl'), ['--root', this.root, ...words]); }

  async state() { return (await fetch(`${this.panel}state`)).json(); }

  async act(action, values = {}) {
    const answer = await fetch(`${this.panel}actions`, {
      method: 'POST',
      headers: { 'Content-Type': 'application/json', 'X-Varn-Panel': '1' },
      body: JSON.stringify({ action, ...values }),
    });
    if (!answer.ok) throw new Error(`${action}: ${answer.status} ${await answer.text()}`);
  }

  /** Scans as a host does; resolves when the job has ended, however it ended. */
  scan(...settings) {
    const out = join(this.directory, 'out');
    return run(join(binaries, 'varn-scan'), ['--url', this.url, '--out', out, ...settings])
      .then(() => true, () => false);
  }

  /** Posts a job that waits until somebody releases it at the panel. */
  async store(name, pin) {
    const { stdout } = await run(join(binaries, 'varn-scan'),
      ['--print-settings', '--source', 'flatbed', '--resolution', '75']);
    const request = `<scan:StoredJobRequest><scan:JobName>${escaped(name)}</scan:JobName>` +
      `<scan:PIN>${pin}</scan:PIN></scan:StoredJobRequest>`;
    return this.post('/eSCL/ScanJobs', stdout.replace('</scan:ScanSettings>', `${request}$&`));
  }

  /** Makes a host a destination; its path is what its events are asked under. */
  async subscribe(name, ...shortcuts) {
    const status = await (await fetch(`${this.url}/eSCL/ScannerStatus`)).text();
    const space = status.match(/xmlns:scan="([^"]*)"/)[1];
    const listed = shortcuts.map((s) => `<scan:Shortcut>${escaped(s)}</scan:Shortcut>`).join('');
    const path = await this.post('/eSCL/WalkupSubscriptions',
      `<?xml version="1.0" encoding="UTF-8"?><scan:WalkupScanSubscription xmlns:scan="${space}">` +
      `<scan:HostIdentifier>${escaped(name)}</scan:HostIdentifier>` +
      '<scan:Connection>Network</scan:Connection>' +
      `<scan:Shortcuts>${listed}</scan:Shortcuts></scan:WalkupScanSubscription>`);
    return path.slice(path.lastIndexOf('/') + 1);
  }

  /** A SharePoint job, prepared by a host. */
  async prepareSharePoint(name, path) {
    const jobs = '/DevMgmt/SharePoint/PredefinedJobs';
    const spaces = (await (await fetch(this.url + jobs)).text()).match(/PredefinedJobs( xmlns[^>]*)>/)[1];
    await this.post(jobs, `<?xml version="1.0"?><folder:PredefinedJob${spaces}>` +
      '<folder:SendFolderDestinations><folder:SendSharePointDestination>' +
      `<folder:SharePointPath>${escaped(path)}</folder:SharePointPath>` +
      '</folder:SendSharePointDestination></folder:SendFolderDestinations>' +
      `<dsd:DisplaySettings><dd:Name>${escaped(name)}</dd:Name></dsd:DisplaySettings></folder:PredefinedJob>`);
  }

  async settings() { return (await fetch(`${this.panel}settings`)).json(); }

  /** The event that waits for a host, as soon as there is one. */
  async walkupEvent(host) {
    for (const end = Date.now() + limit_ms; Date.now() < end; await pause(50)) {
      const answer = await fetch(`${this.url}/eSCL/WalkupScanEvent/${host}`);
      if (answer.status === 200) return answer.text();
    }
    throw new Error('no event');
  }

  async post(path, xml) {
    const answer = await fetch(this.url + path, {
      method: 'POST', headers: { 'Content-Type': 'text/xml' }, body: xml,
    });
    if (answer.status !== 201) throw new Error(`${path}: ${answer.status} ${await answer.text()}`);
    return new URL(answer.headers.get('location'), this.url).pathname;
  }
}
