// The project's files and documents, as the tests of the documents read them.
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

export const root = path.join(path.dirname(fileURLToPath(import.meta.url)), '../..');
export const read = (file) => fs.readFileSync(path.join(root, file), 'utf8');

export const run = (program, args = []) => execFileSync(program, args).toString();

// Every file of the tree but what is built and fetched.
export const files = run('find', [root, '(', '-name', '.git', '-o', '-name', 'build', '-o', '-name',
  'node_modules', ')', '-prune', '-o', '-type', 'f', '-printf', '%P\n']).trim().split('\n');
export const documents = files.filter((file) => file.endsWith('.md'));
export const sources = files.filter((file) => /\.(cpp|h)$/.test(file));

const FENCED = /^( *)```(.*)\n([^]*?)^ *```.*\n?/gm;

// The text without fenced blocks, and the blocks: { info, text, line }.
export const parts = (markdown) => ({
  prose: markdown.replace(FENCED, ''),
  blocks: [...markdown.matchAll(FENCED)].map(({ 1: indent, 2: info, 3: text, index }) => ({
    info: info.trim(), text: text.replace(new RegExp(`^ {0,${indent.length}}`, 'gm'), ''),
    line: markdown.slice(0, index).split('\n').length + 1,
  })),
});

// The part of a document under a heading, up to the next of its level.
export function sectionOf(markdown, heading) {
  const start = markdown.indexOf(`\n${heading}\n`);
  if (start < 0) throw new Error(`no heading "${heading}"`);
  const level = /^#+/.exec(heading)[0].length;
  return markdown.slice(start + heading.length + 2).split(new RegExp(`^#{1,${level}} `, 'm'))[0];
}

// The rows of all tables in a text, as arrays of cells, without headings.
export function rowsOf(markdown) {
  const rows = markdown.split('\n').filter((line) => line.startsWith('|'))
    .map((line) => line.slice(1, -1).split('|').map((cell) => cell.trim()));
  const isRule = (cells) => /^-+$/.test(cells?.[0] ?? '');
  return rows.filter((cells, i) => !isRule(cells) && !isRule(rows[i + 1]));
}

// What stands between backticks.
export const ticked = (cell) => [...cell.matchAll(/`([^`]+)`/g)].map(([, text]) => text);
