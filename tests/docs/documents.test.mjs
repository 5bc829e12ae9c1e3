// What the documents say of the tree, against the tree.
import assert from 'node:assert/strict';
import path from 'node:path';
import test from 'node:test';
import { documents, files, parts, read, rowsOf, run, sectionOf, sources, ticked } from './tree.mjs';

const exists = (name) => files.includes(name)
  || files.some((file) => file.startsWith(`${name.replace(/\/$/, '')}/`));

// A pattern with * stands for names within a folder.
const matcher = (pattern) =>
  new RegExp(`^${pattern.replace(/\./g, '\\.').replace(/\*/g, '[^/]*')}$`);

// Headings as the anchors that a forge makes of them.
const anchorsOf = (markdown) => parts(markdown).prose.split('\n')
  .filter((line) => /^#+ /.test(line))
  .map((line) => line.replace(/^#+ /, '').toLowerCase()
    .replace(/[^\p{L}\p{N} _-]/gu, '').replace(/ /g, '-'));

// A test that finds nothing wrong in the prose of any document; `wrongIn` gives what is wrong in one.
const testProse = (name, wrongIn) => test(name, () => {
  const wrong = documents.flatMap((document) => wrongIn(parts(read(document)).prose, document)
    .map((text) => `${document}: ${text}`));
  assert.deepEqual(wrong, []);
});

testProse('links lead somewhere', (prose, document) =>
  [...prose.matchAll(/\]\(([^)\s]+)\)/g)].map(([, target]) => target).filter((target) => {
    const [file, anchor] = target.split('#');
    const name = file ? path.posix.join(path.posix.dirname(document), file) : document;
    const isThere = exists(name) && (!anchor || anchorsOf(read(name)).includes(anchor));
    return !isThere && !/^[a-z]+:/.test(target);
  }));

const tops = new Set(files.map((file) => file.split('/')[0]));
testProse('files and folders that are named exist', (prose) => ticked(prose).filter((text) => {
  const name = text.split(' ')[0].replace(/^\.\//, '');
  const isPath = tops.has(name.split('/')[0]) && /^[\w./*-]+$/.test(name);
  return isPath && !exists(name) && !files.some((file) => matcher(name).test(file));
}));

const code = files.filter((file) => /\.(cpp|h|js|mjs|lua|sh|cfg|txt|json|service)$/.test(file));
const words = new Set(code.flatMap((file) => read(file).match(/\w+/g) ?? []));
const allWords = [...words].join(' ');
testProse('names that are written as code occur in the tree', (prose, document) =>
  (document === 'docs/protocol.md' ? [] : ticked(prose)).filter((text) => {
    const name = /^(?:\w+::)?([A-Za-z_]\w{3,})(?:\(\))?$/.exec(text)?.[1];
    // The glossary has parts of names, and a plain word may be anything.
    const isThere = document.endsWith('glossary.md') ? allWords.includes(name) : words.has(name);
    return /_|[a-z][A-Z]/.test(name) && !isThere;
  }));

test('the protocol document has every message number', () => {
  const ways = { C2S: 'client->lobby', S2C: 'lobby->client', L2Q: 'lobby->queue', Q2L: 'queue->lobby' };
  const listed = rowsOf(sectionOf(read('docs/protocol.md'), '## Messages'))
    .map(([way, type]) => `${Number(type)} ${way}`);
  const missing = sources.filter((file) => /^(lobby|lib)\/include\//.test(file)).flatMap((file) =>
    [...read(file).matchAll(/constexpr uint16_t (\w+) = (0x[0-9A-F]+);/gi)]
      .filter(([, name, type]) => {
        const wanted = `${Number(type)} ${ways[/[A-Z0-9]+$/.exec(name)[0]] ?? ''}`;
        return !listed.some((row) => row.startsWith(wanted));
      }).map(([, name]) => `${file}: ${name}`));
  assert.deepEqual(missing, []);
});

// As lobby_check prints them. Any message type may be a key of [limits]; the documents name the one
// that has a word.
const keys = [];
for (const line of run(path.join(process.env.BIN, 'lobby_check'), ['--keys']).trim().split('\n')) {
  const file = line.startsWith(' ') ? keys.at(-1).file : line;
  const [, key, standard, bounds] =
    /^ {2}(\[\w+\] \S+) .* \((needed|default [^,]+), (?:IPv4\S+ or \S+ )?(.*)\)$/.exec(line) ?? [];
  keys.push({ file, at: `${file} ${key?.replace('*', 'any')}`, standard, bounds });
}

test('the operator finds every configuration key, its default and its bounds', () => {
  const text = sectionOf(read('docs/operations.md'), '## Configuration');
  const found = [];
  for (const file of new Set(keys.map((key) => key.file))) {
    for (const [section, name, value, standard] of rowsOf(sectionOf(text, `### ${file}`))) {
      const at = `${file} [${ticked(section)[0]}] ${ticked(name)[0]}`;
      found.push(at);
      const key = keys.find((one) => one.at === at);
      if (!key) continue;  // told below
      assert.equal(standard.replaceAll('`', ''), key.standard.replace('default ', ''), at);
      const [, choices] = /^one of (.*)/.exec(key.bounds) ?? [];
      const told = choices ? ticked(value).join(' ') : `${value} `;
      assert.ok(told.includes(choices ?? `${key.bounds} `), `${at}: "${value}" is not ${key.bounds}`);
    }
  }
  assert.deepEqual(found.sort(), keys.filter(({ bounds }) => bounds).map(({ at }) => at).sort());
});

test('the lines to alert on are written, at that level and under that tag', () => {
  const product = sources.filter((file) => !/^(tests|tools|bench|fuzz)\//.test(file));
  const calls = product.flatMap((file) => {
    const text = read(file).replace(/^\s*\/\/.*$/gm, '');
    return [...text.matchAll(/__log\(\s*_(\w+),\s*([^,]+?),\s*((?:"(?:[^"\\]|\\.)*"\s*)+)/g)]
      .map(([, level, tag, pieces]) => ({
        level, tag, text,
        format: [...pieces.matchAll(/"((?:[^"\\]|\\.)*)"/g)].map(([, piece]) => piece).join(''),
      }));
  });
  const rows = rowsOf(sectionOf(read('docs/operations.md'), '## Log lines to alert on'));
  const wrong = rows.filter(([line, level, tagCell]) => {
    const [tag] = ticked(tagCell);
    // A tag that is not written in the call itself stands elsewhere in the file.
    const hasTag = (call) => !tag ||
      (call.tag.startsWith('"') ? call.tag === `"${tag}"` : call.text.includes(`"${tag}"`));
    return !calls.some((call) =>
      `\`${call.format}\`` === line && call.level === level && hasTag(call));
  });
  assert.deepEqual(wrong.map((cells) => cells.slice(0, 3)), []);
  assert.ok(rows.length > 20);
});

test('what the security document says of clients names tests and attacks that exist', () => {
  const text = read('docs/security.md');
  const code = sources.filter((file) => /^tests\//.test(file)).map(read).join('\n');
  const names = [...text.matchAll(/`([A-Z]\w+)\.([A-Z]\w+)`/g)];
  const unknown = names.filter(([, suite, name]) =>
    !new RegExp(`TEST(_[FP])?\\(\\s*${suite},\\s*${name}\\)`).test(code));
  assert.deepEqual(unknown.map(([name]) => name), []);
  assert.ok(names.length > 20);
  const attacks = [...text.matchAll(/(?<!\*)\*([a-z][^*]+)\*(?!\*)/g)].map(([, name]) => name.replace(/\s+/g, ' '));
  assert.deepEqual(attacks.filter((name) => !code.includes(`"${name}",`)), []);
});

test('includes keep to the layers that the architecture document allows', () => {
  const layers = rowsOf(sectionOf(read('docs/architecture.md'), '## Folders and what may include what'))
    .flatMap(([folder, allowed]) => ticked(folder).map((pattern, _, patterns) => ({
      pattern, patterns, isFree: allowed.startsWith('everything'), allowed: [...patterns, ...ticked(allowed)],
    })))
    .sort((a, b) => b.pattern.length - a.pattern.length);
  // The most exact pattern tells a file's layer.
  const layerOf = (file) => layers.find(({ pattern }) => (/\.\w+$/.test(pattern)
    ? matcher(pattern).test(file) : file.startsWith(`${pattern}/`)));
  assert.deepEqual(sources.filter((file) => !layerOf(file)), [], 'stand in no layer');
  const edges = sources.flatMap((file) => [...read(file).matchAll(/^#include "([^"]+)"/gm)]
    .map(([, name]) => ({ file, homes: files.filter((one) => one.endsWith(`/${name}`)) }))
    .filter(({ homes }) => homes.length > 0));
  const wrong = edges.filter(({ file, homes }) => {
    const { isFree, allowed } = layerOf(file);
    return !isFree && !homes.some((home) => layerOf(home)?.patterns.some((one) => allowed.includes(one)));
  });
  assert.deepEqual(wrong, []);
  assert.ok(edges.length > 300);
});
