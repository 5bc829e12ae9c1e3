// The project's files and documents, as the tests of the documents read them.
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

export const root = path.join(path.dirname(fileURLToPath(import.meta.url)), '../..');
export const read = (file) => fs.readFileSync(path.join(root, file), 'utf8');

const SKIPPED = new Set(['.git', 'build', 'node_modules']);

// Every file below the root, with forward slashes.
function list(folder = '') {
  return fs.readdirSync(path.join(root, folder), { withFileTypes: true }).flatMap((entry) => {
    const name = folder ? `${folder}/${entry.name}` : entry.name;
    if (SKIPPED.has(entry.name)) return [];
    return entry.isDirectory() ? list(name) : [name];
  });
}
export const files = list();
export const documents = files.filter((file) => file.endsWith('.md'));
export const sources = files.filter((file) => /\.(cpp|h)$/.test(file));

// The text without fenced blocks, and the blocks: { info, text, line }.
export function parts(markdown) {
  const prose = [];
  const blocks = [];
  let block = null;
  markdown.split('\n').forEach((line, i) => {
    const fence = /^( *)```(.*)$/.exec(line);
    if (fence && block) {
      blocks.push(block);
      block = null;
    } else if (fence) {
      block = { info: fence[2].trim(), indent: fence[1].length, text: '', line: i + 2 };
    } else if (block) {
      block.text += `${line.slice(block.indent)}\n`;
    } else {
      prose.push(line);
    }
  });
  return { prose: prose.join('\n'), blocks };
}

// The part of a document under a heading, up to the next of its level.
export function sectionOf(markdown, heading) {
  const start = markdown.indexOf(`\n${heading}\n`);
  if (start < 0) throw new Error(`no heading "${heading}"`);
  const level = /^#+/.exec(heading)[0].length;
  const rest = markdown.slice(start + heading.length + 2);
  const end = rest.search(new RegExp(`^#{1,${level}} `, 'm'));
  return end < 0 ? rest : rest.slice(0, end);
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

export const run = (program, args = []) => execFileSync(program, args).toString();
