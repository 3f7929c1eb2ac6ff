// Runs arkc for the editor: problems while typing and on save, the layout, and tasks. No dependencies.
'use strict';
const fs = require('fs');
const path = require('path');
const { spawn } = require('child_process');
const vscode = require('vscode');

const kTypingPauseMs = 400;

const settingsOf = (document) => vscode.workspace.getConfiguration('arkivon', document && document.uri);

/** Runs arkc with a text on its standard input. Resolves to { status, output, errors }, rejects when it cannot start. */
function runArkc(document, args, text, directory) {
    return new Promise((resolve, reject) => {
        // A folder that is gone would be reported like a compiler that is not there.
        const cwd = directory && fs.existsSync(directory) ? directory : undefined;
        const child = spawn(settingsOf(document).get('arkcPath'), args, { cwd });
        const output = [];
        const errors = [];
        child.stdout.on('data', (bytes) => output.push(bytes));
        child.stderr.on('data', (bytes) => errors.push(bytes));
        child.on('error', reject);
        child.on('close', (status) => resolve({
            status, output: Buffer.concat(output).toString(), errors: Buffer.concat(errors).toString(),
        }));
        child.stdin.on('error', () => {}); // it ended before it read all
        child.stdin.end(text);
    });
}

/** The compiler's answer to `check --format json`; anything else that runs under its name is a reason to complain. */
function diagnosticsOf(result) {
    try {
        return JSON.parse(result.output).diagnostics;
    } catch {
        throw new Error(result.errors.trim().split('\n')[0] || `it ended with ${result.status} and printed no problems`);
    }
}

/** Says why there are no problems to see, or no layout, and offers the way to the setting. */
async function complain(document, error) {
    const reason = error.code === 'ENOENT' ? 'was not found' : `does not work: ${error.message}`;
    const answer = await vscode.window.showWarningMessage(
        `The compiler '${settingsOf(document).get('arkcPath')}' ${reason}`, 'Open Settings');
    if (answer) {
        vscode.commands.executeCommand('workbench.action.openSettings', 'arkivon.arkcPath');
    }
}

/** The source that includes the others; undefined when none is set, or the document is it. */
function programOf(document) {
    const folder = vscode.workspace.getWorkspaceFolder(document.uri);
    const program = settingsOf(document).get('program');
    if (!folder || !program) {
        return undefined;
    }
    const whole = path.resolve(folder.uri.fsPath, program);
    return whole === document.uri.fsPath ? undefined : whole;
}

function diagnosticOf(remark) {
    const line = Math.max(remark.line - 1, 0);
    const start = Math.max(remark.column - 1, 0);
    const range = new vscode.Range(line, start, line, Math.max(remark.endColumn - 1, start + 1));
    const severity = remark.severity === 'error' ? vscode.DiagnosticSeverity.Error
        : vscode.DiagnosticSeverity.Warning;
    const diagnostic = new vscode.Diagnostic(range, remark.message, severity);
    diagnostic.source = 'arkc';
    return diagnostic;
}

/** Keeps the problems of each checked source, those in its includes too, and takes back what is out of date. */
class Checker {
    constructor(collection) {
        this.collection = collection;
        this.found = new Map();  // checked file: Map of file to diagnostics
        this.latest = new Map(); // checked file: number of its last run
        this.timers = new Map(); // document: the pause in typing
        this.hasComplained = false;
    }

    typed(document) {
        if (document.languageId !== 'arkivon' || !settingsOf(document).get('checkWhileTyping') || programOf(document)) {
            return;
        }
        clearTimeout(this.timers.get(document));
        this.timers.set(document, setTimeout(() => this.check(document), kTypingPauseMs));
    }

    async check(document) {
        if (document.languageId !== 'arkivon' || document.uri.scheme !== 'file') {
            return;
        }
        clearTimeout(this.timers.get(document));
        this.timers.delete(document);
        const program = programOf(document);
        const name = program || document.uri.fsPath;
        const args = program ? [program] : ['-', '--stdin-name', name];
        const run = (this.latest.get(name) || 0) + 1;
        this.latest.set(name, run);
        try {
            const result = await runArkc(document, ['check', ...args, '--format', 'json'],
                program ? '' : document.getText(), path.dirname(name));
            if (this.latest.get(name) === run) {
                this.take(name, diagnosticsOf(result));
            }
        } catch (error) {
            if (!this.hasComplained) {
                this.hasComplained = true;
                complain(document, error);
            }
        }
    }

    checkAll() {
        vscode.workspace.textDocuments.forEach((document) => this.check(document));
    }

    /** Which sources are checked, and as parts of what, may be another matter now. */
    configured() {
        this.hasComplained = false;
        this.found.clear();
        this.latest.forEach((run, name) => this.latest.set(name, run + 1));
        this.collection.clear();
        this.checkAll();
    }

    take(name, remarks) {
        const files = new Map([[name, []]]);
        for (const remark of remarks) {
            const file = path.resolve(path.dirname(name), remark.file);
            files.set(file, [...(files.get(file) || []), diagnosticOf(remark)]);
        }
        const before = this.found.get(name) || new Map();
        this.found.set(name, files);
        for (const file of new Set([...before.keys(), ...files.keys()])) {
            this.show(file);
        }
    }

    show(file) {
        const all = [...this.found.values()].flatMap((files) => files.get(file) || []);
        const seen = new Set();
        this.collection.set(vscode.Uri.file(file), all.filter((diagnostic) => {
            const key = JSON.stringify([diagnostic.range, diagnostic.message]);
            return !seen.has(key) && seen.add(key);
        }));
    }

    closed(document) {
        clearTimeout(this.timers.get(document));
        this.timers.delete(document);
        const name = document.uri.fsPath;
        const files = this.found.get(name);
        this.latest.set(name, (this.latest.get(name) || 0) + 1);
        if (files) {
            this.found.delete(name);
            files.forEach((_, file) => this.show(file));
        }
    }
}

async function format(document) {
    let result;
    try {
        result = await runArkc(document, ['fmt', '-', '--stdin-name', document.uri.fsPath], document.getText());
    } catch (error) {
        complain(document, error);
        return [];
    }
    if (result.status !== 0) {
        vscode.window.setStatusBarMessage(result.errors.split('\n')[0], 8000);
        return [];
    }
    const whole = new vscode.Range(0, 0, document.lineCount, 0);
    return result.output === document.getText() ? [] : [vscode.TextEdit.replace(whole, result.output)];
}

function taskOf(definition, scope) {
    const execution = new vscode.ProcessExecution(settingsOf().get('arkcPath'),
        [definition.command, definition.source]);
    const task = new vscode.Task(definition, scope, `${definition.command} ${definition.source}`, 'arkc', execution,
        '$arkc');
    task.group = definition.command === 'build' ? vscode.TaskGroup.Build : undefined;
    return task;
}

/** Build and check, for the program of the folder or the source in front. */
function tasks() {
    const editor = vscode.window.activeTextEditor;
    const folder = editor && vscode.workspace.getWorkspaceFolder(editor.document.uri);
    if (!folder || editor.document.languageId !== 'arkivon') {
        return [];
    }
    const source = path.relative(folder.uri.fsPath, programOf(editor.document) || editor.document.uri.fsPath);
    return ['build', 'check'].map((command) => taskOf({ type: 'arkc', command, source }, folder));
}

function activate(context) {
    const collection = vscode.languages.createDiagnosticCollection('arkivon');
    const checker = new Checker(collection);
    context.subscriptions.push(
        collection,
        vscode.workspace.onDidOpenTextDocument((document) => checker.check(document)),
        vscode.workspace.onDidSaveTextDocument((document) => checker.check(document)),
        vscode.workspace.onDidChangeTextDocument((change) => checker.typed(change.document)),
        vscode.workspace.onDidCloseTextDocument((document) => checker.closed(document)),
        vscode.workspace.onDidChangeConfiguration((change) => {
            if (change.affectsConfiguration('arkivon')) {
                checker.configured();
            }
        }),
        // A task's problems have no ends and take the place of ours.
        vscode.tasks.onDidEndTask(() => checker.checkAll()),
        vscode.languages.registerDocumentFormattingEditProvider('arkivon', { provideDocumentFormattingEdits: format }),
        vscode.tasks.registerTaskProvider('arkc', {
            provideTasks: tasks,
            resolveTask: (task) => taskOf(task.definition, task.scope),
        }));
    checker.checkAll();
}

module.exports = { activate, deactivate() {} };
