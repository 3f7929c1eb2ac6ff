// Colours sources with the engine that editors use and compares the scopes of words that are easily mistaken.
// Usage: grammar.mjs GRAMMAR SOURCE...
import assert from 'node:assert';
import fs from 'node:fs';
import { createRequire } from 'node:module';

const require = createRequire(import.meta.url);
const { Registry, parseRawGrammar, INITIAL } = require('vscode-textmate');
const { loadWASM, OnigScanner, OnigString } = require('vscode-oniguruma');

const [grammarPath, ...sources] = process.argv.slice(2);
const text = fs.readFileSync(grammarPath, 'utf8');
await loadWASM(fs.readFileSync(require.resolve('vscode-oniguruma/release/onig.wasm')).buffer);

// Every pattern is legal by itself: the engine would only report one when it meets it.
(function compileAll(node) {
    for (const [key, value] of Object.entries(node)) {
        if (['match', 'begin', 'end'].includes(key) && typeof value === 'string') {
            new OnigScanner([value]);
        } else if (value && typeof value === 'object') {
            compileAll(value);
        }
    }
})(JSON.parse(text));

const registry = new Registry({
    onigLib: Promise.resolve({
        createOnigScanner: (patterns) => new OnigScanner(patterns),
        createOnigString: (string) => new OnigString(string),
    }),
    loadGrammar: async () => parseRawGrammar(text, grammarPath),
});
const grammar = await registry.loadGrammar('source.arkivon');

function tokensOf(source) {
    let stack = INITIAL;
    return source.split('\n').flatMap((line) => {
        const result = grammar.tokenizeLine(line, stack);
        stack = result.ruleStack;
        return result.tokens.map((token) => ({
            text: line.slice(token.startIndex, token.endIndex).trim(), scopes: token.scopes.slice(1).join(' '),
        })).filter((token) => token.text);
    });
}

// [source, word, scope it must have; empty: it must have none]
const cases = [
    ["INTEGER x", 'INTEGER', 'storage.type'],
    ["device d = 5001:1:0", '5001:1:0', 'constant.numeric.device'],
    ["x = $0D + 0xFF", '$0D', 'constant.numeric.hex'],
    ["x = $0D + 0xFF", '0xFF', 'constant.numeric.hex'],
    ["x = 1.5e-3", '1.5e-3', 'constant.numeric.decimal'],
    ["exclusive [d, 11..14]", '11', 'constant.numeric.decimal'],
    ["exclusive [d, 11..14]", '..', 'keyword.operator'],
    ["exclusive [d, 11..14]", '14', 'constant.numeric.decimal'],
    ["x.level = level.value", 'value', 'variable.other.member'],
    ["x.integer = 1", 'integer', 'variable.other.member'],
    ["level [d, 2] n", 'level', 'keyword.other.declaration'],
    ["n = level.value", 'level', 'variable.language'],
    ["on [d, 1]", 'on', 'keyword.other.device'],
    ["on = 1", 'on', ''],
    ["push: { }", 'push', 'keyword.control.event'],
    ["push = 1", 'push', ''],
    ["hold [3, repeat]: { x }", 'repeat', 'keyword.control.event'],
    ["hold [3, repeat]: { x }", 'x', ''],
    ["s = 'it''s' x", "''", 'constant.character.escape'],
    ["s = 'it''s' x", 'x', ''],
    ["s = 'a // b'", 'a // b', 'string.quoted'],
    ["s = \"'a', itoa(n)\"", 'itoa', 'support.function'],
    ["s = ''\nx", 'x', ''],
    ["s = 'no end\nx", 'x', ''],
    ["(* a\nwhile *) while", 'while', 'comment.block'],
    ["x // while", 'while', 'comment.line'],
    ["routine Show(char text[])", 'Show', 'entity.name.function'],
    ["format_x(1)", 'format_x', 'entity.name.function'],
    ["integer größe", 'größe', ''],
    ["start\n{", 'start', 'keyword.control.event'],
    ["timeline_create(T, a, 1, timeline_absolute, 0)", 'timeline_absolute', 'support.constant'],
];
for (const [source, word, scope] of cases) {
    const token = tokensOf(source).find((each) => each.text === word || each.text.includes(word));
    assert(token, `${source}: no token ${word} in ${JSON.stringify(tokensOf(source))}`);
    assert(scope ? token.scopes.includes(scope) : !/\S/.test(token.scopes),
        `${source}: ${word} is '${token.scopes}', not '${scope}'`);
}

// In whole programs nothing runs on: the last brace of each is still a brace.
for (const path of sources) {
    const last = tokensOf(fs.readFileSync(path, 'utf8')).pop();
    assert.match(last.scopes, /^punctuation\.bracket/, `${path} ends in '${last.text}', ${last.scopes}`);
}
console.log(`${cases.length} words, ${sources.length} programs`);
