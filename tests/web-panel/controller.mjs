// The example room on a controller of its own: the real programs, on a loopback address that no other test uses.
import { execFileSync, spawn } from 'node:child_process';
import { cpSync, mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import net from 'node:net';
import path from 'node:path';

const WAIT_MS = 15000;

/// 127.140.0.0 to 127.203.255.255, by process: tests of several builds can run at once.
const address = `127.${140 + (process.pid >> 16) % 64}.${(process.pid >> 8) % 256}.${process.pid % 256}`;

/// A port that nobody has, at any address: a program's own servers are bound to all of them.
function freePort() {
  return new Promise((resolve, reject) => {
    const server = net.createServer();
    server.on('error', reject);
    server.listen(0, () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
  });
}

/// Owns: the controller's process. Ends: with end().
export class Controller {
  static async make(programs, example, scratch) {
    const controller = new Controller();
    Object.assign(controller, { programs, scratch, address, output: '', waiting: null });
    controller.httpPort = await freePort();
    controller.panelPort = await freePort();
    controller.compile(example);
    for (const pages of [path.join(example, '..', 'web-panel'), path.join(example, 'web')]) {
      cpSync(pages, path.join(scratch, 'web'), { recursive: true });
    }
    return controller;
  }

  /// The example as it is, but for the port, which another room on this machine may have, and devices' addresses.
  compile(example) {
    const copy = path.join(this.scratch, 'source');
    cpSync(example, copy, { recursive: true });
    mkdirSync(path.join(this.scratch, 'tmp'));
    const file = path.join(copy, 'webpanel.src');
    const source = readFileSync(file, 'utf8');
    const changed = source.replace(/(WEB_PANEL_PORT = )8081/, `$1${this.panelPort}`);
    if (changed === source) throw new Error('webpanel.src has no port to change');
    writeFileSync(file, changed);
    for (const name of readdirSync(copy).filter((each) => each.endsWith('.src'))) {
      const module = path.join(copy, name);
      writeFileSync(module, readFileSync(module, 'utf8').replace(/(_ADDRESS\[\]\s*= )'127.0.0.1'/, `$1'${address}'`));
    }
    execFileSync(this.programs.arkc,
      ['build', path.join(copy, `${path.basename(example)}.src`), '-o', path.join(this.scratch, 'program.pobj')]);
  }

  get url() {
    return `http://${this.address}:${this.httpPort}/?port=${this.panelPort}`;
  }

  async start() {
    const options = ['--data-dir', this.scratch, '--bind', this.address, '--http-port', `${this.httpPort}`, '--monitor',
      '--no-system-changes'];
    const from = this.output.length;
    // A directory of its own for temporary files and local sockets: several controllers share this machine.
    const env = { ...process.env, TMPDIR: path.join(this.scratch, 'tmp') };
    this.process = spawn(this.programs.arkivon, options, { env, stdio: ['ignore', 'pipe', 'pipe'] });
    for (const stream of [this.process.stdout, this.process.stderr]) {
      stream.on('data', (data) => {
        this.output += data;
        this.waiting?.();
      });
    }
    await this.line(/Network started/, from);
    while (!await fetch(this.url).then((answer) => answer.ok, () => false)); // the pages come last
  }

  /// Waits for monitor lines that match, behind `from`.
  line(pattern, from = 0) {
    return new Promise((resolve, reject) => {
      const timer = setTimeout(() => {
        this.waiting = null;
        reject(new Error(`no monitor line ${pattern} in:\n${this.output.slice(from)}`));
      }, WAIT_MS);
      this.waiting = () => {
        if (!pattern.test(this.output.slice(from))) return;
        clearTimeout(timer);
        this.waiting = null;
        resolve();
      };
      this.waiting();
    });
  }

  signal(name) {
    this.process.kill(name);
  }

  async stop(name = 'SIGTERM') {
    const ended = new Promise((resolve) => this.process.once('exit', resolve));
    this.signal(name);
    await ended;
  }

  /// Does something as a touch panel.
  panel(...action) {
    execFileSync(this.programs.arkctl, ['--host', this.address, 'panel', ...action]);
  }

  end() {
    this.process?.kill('SIGKILL');
  }
}
