// Runs the editor's extension with the real arkc in an editor that is only pretended.
// Usage: extension.mjs EXTENSION ARKC
import assert from 'node:assert';
import { spawn, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import Module, { createRequire } from 'node:module';
import path from 'node:path';

const [extensionPath, arkc] = process.argv.slice(2);
const require = createRequire(import.meta.url);
const settings = { arkcPath: arkc, program: '' };
const handlers = {};
const on = (name) => (handler) => { handlers[name] = handler; return {}; };
const uriOf = (file) => ({ fsPath: file, scheme: 'file' });
const warnings = [];
const commands = [];
// What the client that is delivered asks of the editor when it is loaded counts as being there.
const anything = new Proxy(class {}, { get: (target, name) => (name in target ? target[name] : anything) });
const vscode = new Proxy({
    Task: class { constructor(definition, scope, name) { this.name = name; } },
    ProcessExecution: class {},
    TaskGroup: { Build: 'build' },
    tasks: { registerTaskProvider: (_, provider) => { handlers.tasks = provider; return {}; } },
    window: {
        async showWarningMessage(text, button) { warnings.push(text); return button; }, activeTextEditor: undefined,
    },
    commands: { executeCommand: (...words) => { commands.push(words.join(' ')); } },
    workspace: {
        getConfiguration: () => ({ get: (key) => settings[key] }),
        getWorkspaceFolder: () => ({ uri: uriOf('/room') }),
        createFileSystemWatcher: (pattern) => pattern,
        onDidChangeConfiguration: on('configured'),
    },
}, { get: (target, name) => target[name] || anything });

/** Starts the server as the extension says, and asks it to initialize; the answer is kept. */
class Client {
    static all = [];
    constructor(id, name, server, options) { Object.assign(this, { server, options, stopped: false }); }
    async start() {
        const child = spawn(this.server.command, this.server.args);
        const body = JSON.stringify({ id: 1, method: 'initialize', params: {} });
        child.on('error', () => {}); // it is not there
        child.stdin.on('error', () => {});
        child.stdin.end(`Content-Length: ${body.length}\r\n\r\n${body}`);
        const output = [];
        for await (const bytes of child.stdout) {
            output.push(bytes);
        }
        if (!output.length) {
            throw new Error('nobody answers');
        }
        this.answer = JSON.parse(Buffer.concat(output).toString().split('\r\n\r\n')[1]);
        Client.all.push(this);
    }
    async stop() { this.stopped = true; }
}
const load = Module._load;
Module._load = (name, ...rest) => {
    const loaded = name === 'vscode' ? vscode : load(name, ...rest);
    if (name !== './languageclient.js') {
        return loaded;
    }
    assert.equal(typeof loaded.LanguageClient.prototype.start, 'function');
    return { LanguageClient: Client };
};
const extension = require(extensionPath);
await extension.activate({ subscriptions: [] });
assert.equal(Client.all.length, 1);
assert.deepEqual(Client.all[0].server.args, ['lsp']);
assert.equal(Client.all[0].options.synchronize.configurationSection, 'arkivon');
assert.equal(Client.all[0].answer.result.capabilities.hoverProvider, true);

// Another compiler: the one before is ended. One that is none: the editor says so, and where to change it.
const changed = (...names) => handlers.configured({ affectsConfiguration: (name) => names.includes(name) });
await changed('arkivon.program');
assert(!Client.all[0].stopped);
for (const command of ['/bin/false', '/no/such/program']) {
    settings.arkcPath = command;
    await changed('arkivon.arkcPath');
    assert(Client.all[0].stopped);
    assert.equal(warnings.pop(), `The compiler '${command}' does not serve the editor: nobody answers`);
    assert.equal(commands.pop(), 'workbench.action.openSettings arkivon.arkcPath');
}
settings.arkcPath = arkc;
await changed('arkivon.arkcPath');
await extension.deactivate();
assert(Client.all[1].stopped);

// Tasks for the source in front, or for the program that is set.
const tasks = () => handlers.tasks.provideTasks().map((task) => task.name);
assert.deepEqual(tasks(), []);
vscode.window.activeTextEditor = { document: { uri: uriOf('/room/lamp.src'), languageId: 'arkivon' } };
assert.deepEqual(tasks(), ['build lamp.src', 'check lamp.src']);
settings.program = 'room.src';
assert.deepEqual(tasks(), ['build room.src', 'check room.src']);

// Names that the editor takes for one word, and snippets that arkc can read.
const beside = (name) => JSON.parse(fs.readFileSync(path.join(path.dirname(extensionPath), name), 'utf8'));
const { pattern, flags } = beside('language-configuration.json').wordPattern;
assert.deepEqual('x = größe_2 + n.a'.match(new RegExp(pattern, `${flags}g`)), ['x', 'größe_2', 'n', 'a']);
const isInside = { 'For loop': true, Switch: true, Wait: true };
for (const [name, { body }] of Object.entries(beside('snippets/arkivon.json'))) {
    const plain = body.join('\n').replace(/\$\{\d+:([^}]*)\}|\$\d+/g, '$1');
    const { status } = spawnSync(arkc, ['fmt', '-'], { input: isInside[name] ? `start {\n${plain}\n}` : plain });
    assert.equal(status, 0, `${name} is refused`);
}
