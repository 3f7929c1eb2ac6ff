// Lets the editor ask `arkc lsp`, and offers tasks. languageclient.js is made by editors/languageclient/update.sh.
'use strict';
const path = require('path');
const vscode = require('vscode');
const { LanguageClient } = require('./languageclient.js');

const settings = () => vscode.workspace.getConfiguration('arkivon');
let client;

/** Says why there are no problems, names and layouts, and offers the way to the setting. */
async function complain(command, error) {
    const answer = await vscode.window.showWarningMessage(
        `The compiler '${command}' does not serve the editor: ${error.message || error}`, 'Open Settings');
    if (answer) {
        vscode.commands.executeCommand('workbench.action.openSettings', 'arkivon.arkcPath');
    }
}

async function start(watcher) {
    const command = settings().get('arkcPath');
    client = new LanguageClient('arkivon', 'Arkivon', { command, args: ['lsp'] }, {
        documentSelector: [{ language: 'arkivon' }],
        initializationOptions: { program: settings().get('program') },
        synchronize: { configurationSection: 'arkivon', fileEvents: watcher },
    });
    try {
        await client.start();
    } catch (error) {
        client = undefined;
        await complain(command, error);
    }
}

async function stop() {
    const running = client;
    client = undefined;
    await (running && running.stop());
}

function taskOf(definition, scope) {
    const execution = new vscode.ProcessExecution(settings().get('arkcPath'), [definition.command, definition.source]);
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
    const source = settings().get('program') || path.relative(folder.uri.fsPath, editor.document.uri.fsPath);
    return ['build', 'check'].map((command) => taskOf({ type: 'arkc', command, source }, folder));
}

async function activate(context) {
    const watcher = vscode.workspace.createFileSystemWatcher('**/*.src');
    context.subscriptions.push(
        watcher,
        vscode.workspace.onDidChangeConfiguration(async (change) => {
            if (change.affectsConfiguration('arkivon.arkcPath')) {
                await stop();
                await start(watcher);
            }
        }),
        vscode.tasks.registerTaskProvider('arkc', {
            provideTasks: tasks,
            resolveTask: (task) => taskOf(task.definition, task.scope),
        }));
    await start(watcher);
}

module.exports = { activate, deactivate: stop };
