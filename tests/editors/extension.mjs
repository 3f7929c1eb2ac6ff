// Runs the editor's extension with the real arkc in an editor that is only pretended.
// Usage: extension.mjs EXTENSION ARKC
import assert from 'node:assert';
import fs from 'node:fs';
import Module, { createRequire } from 'node:module';
import os from 'node:os';
import path from 'node:path';

const [extensionPath, arkc] = process.argv.slice(2);
const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'arkivon-editor-'));
process.on('exit', () => fs.rmSync(folder, { recursive: true }));

const shown = new Map();
let settled = () => {};
const settings = { arkcPath: arkc, program: '', checkWhileTyping: true };
const handlers = {};
const on = (name) => (handler) => { handlers[name] = handler; return {}; };
const uriOf = (file) => ({ fsPath: file, scheme: 'file' });
const warnings = [];
const commands = [];
const vscode = {
    Uri: { file: uriOf },
    Range: class { constructor(...numbers) { this.numbers = numbers; } },
    Diagnostic: class { constructor(range, message, severity) { Object.assign(this, { range, message, severity }); } },
    DiagnosticSeverity: { Error: 0, Warning: 1 },
    TextEdit: { replace: (range, text) => ({ range, text }) },
    Task: class { constructor(definition, scope, name) { this.name = name; } },
    ProcessExecution: class {},
    TaskGroup: { Build: 'build' },
    languages: {
        createDiagnosticCollection: () => ({
            set(uri, list) { shown.set(uri.fsPath, list); settled(); }, clear() { shown.clear(); },
        }),
        registerDocumentFormattingEditProvider: (_, provider) => { handlers.format = provider; return {}; },
    },
    tasks: {
        registerTaskProvider: (_, provider) => { handlers.tasks = provider; return {}; }, onDidEndTask: on('taskEnd'),
    },
    window: {
        async showWarningMessage(text, button) { warnings.push(text); settled(); return button; },
        setStatusBarMessage() {}, activeTextEditor: undefined,
    },
    commands: { executeCommand: (...words) => { commands.push(words.join(' ')); } },
    workspace: {
        getConfiguration: () => ({ get: (key) => settings[key] }),
        getWorkspaceFolder: () => ({ uri: uriOf(folder) }),
        onDidOpenTextDocument: on('open'), onDidSaveTextDocument: on('save'),
        onDidChangeConfiguration: on('configured'), onDidChangeTextDocument: on('change'), onDidCloseTextDocument: on('close'),
        textDocuments: [],
    },
};
const load = Module._load;
Module._load = (name, ...rest) => (name === 'vscode' ? vscode : load(name, ...rest));
createRequire(import.meta.url)(extensionPath).activate({ subscriptions: [] });

const file = (name) => path.join(folder, name);
const documentOf = (name, text) => ({
    uri: uriOf(file(name)), languageId: 'arkivon', lineCount: text.split('\n').length, getText: () => text,
});
const nextReport = () => new Promise((resolve) => { settled = resolve; });
const messages = (name) => (shown.get(file(name)) || []).map((each) => [...each.range.numbers, each.message]);

// A text that is not saved, with an include beside it that has an error of its own.
fs.writeFileSync(file('lamp.src'), 'integer nLamp = nothing\n');
const room = documentOf('room.src', "include 'lamp.src'\nstart { größe = 1 }\n");
let report = nextReport();
handlers.change({ document: room });
await report;
await new Promise(setImmediate);
assert.deepEqual(messages('room.src'), [[1, 8, 1, 13, "unknown name 'größe'"]]);
assert.equal(messages('lamp.src').length, 1);

// The error is gone: its mark goes, too, also in the include.
fs.writeFileSync(file('lamp.src'), 'integer nLamp = 1\n');
const good = documentOf('room.src', "include 'lamp.src'\nstart { nLamp = 2 }\n");
report = nextReport();
handlers.save(good);
await report;
await new Promise(setImmediate);
assert.deepEqual([messages('room.src'), messages('lamp.src')], [[], []]);

const configured = () => handlers.configured({ affectsConfiguration: (name) => name === 'arkivon' });

// An included source is checked as a part of its program, and what it lacks by itself is no problem any more.
report = nextReport();
handlers.open(documentOf('light.src', 'start { nLamp = 1 }\n'));
await report;
assert.equal(messages('light.src').length, 1);
settings.program = 'room.src';
configured();
assert.equal(messages('light.src').length, 0);
fs.writeFileSync(file('room.src'), "include 'lamp.src'\nstart { nLamp = 2 }\n");
fs.writeFileSync(file('lamp.src'), 'integer nLamp = nothing\n');
report = nextReport();
handlers.save(documentOf('lamp.src', ''));
await report;
await new Promise(setImmediate);
assert(messages('lamp.src').length > 0);
report = nextReport();
handlers.close(documentOf('room.src', ''));
assert.deepEqual(messages('lamp.src'), []);

// The layout; none of what is refused.
const edits = await handlers.format.provideDocumentFormattingEdits(documentOf('x.src', 'start{n=1}'));
assert.equal(edits[0].text, 'start { n = 1 }\n');
assert.deepEqual(await handlers.format.provideDocumentFormattingEdits(documentOf('x.src', 'start{')), []);

// Tasks for the source in front.
vscode.window.activeTextEditor = { document: documentOf('lamp.src', '') };
assert.deepEqual(handlers.tasks.provideTasks().map((task) => task.name), ['build room.src', 'check room.src']);

// What stands there after a task is checked again: the task's problems took the place of the editor's.
vscode.workspace.textDocuments = [room];
report = nextReport();
handlers.taskEnd();
await report;

// Without arkc the editor says so once, until a setting changes; and whenever it is asked for a layout.
vscode.workspace.textDocuments = [];
settings.arkcPath = file('no-such-program');
for (let i = 0; i < 2; ++i) {
    await handlers.save(good);
}
assert.equal(warnings.length, 1);
assert.match(warnings[0], /no-such-program' was not found$/);
assert.deepEqual(commands, ['workbench.action.openSettings arkivon.arkcPath']);
assert.deepEqual(await handlers.format.provideDocumentFormattingEdits(good), []);
settings.arkcPath = '/bin/false';
configured();
await handlers.save(good);
assert.equal(warnings.length, 3);
assert.match(warnings[2], /does not work: it ended with 1/);

// Names that the editor takes for one word, and snippets that arkc can read.
const beside = (name) => JSON.parse(fs.readFileSync(path.join(path.dirname(extensionPath), name), 'utf8'));
const { pattern, flags } = beside('language-configuration.json').wordPattern;
assert.deepEqual('x = größe_2 + n.a'.match(new RegExp(pattern, `${flags}g`)), ['x', 'größe_2', 'n', 'a']);
settings.arkcPath = arkc;
const isInside = { 'For loop': true, Switch: true, Wait: true };
for (const [name, { body }] of Object.entries(beside('snippets/arkivon.json'))) {
    const plain = body.join('\n').replace(/\$\{\d+:([^}]*)\}|\$\d+/g, '$1');
    const source = documentOf('x.src', isInside[name] ? `start {\n${plain}\n}` : plain);
    assert.equal((await handlers.format.provideDocumentFormattingEdits(source)).length, 1, `${name} is refused`);
}
