// The commands in the documents, run as written. A block that cannot run here is marked "sh norun";
// the options it gives to this project's tools are looked up all the same.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import test from 'node:test';
import { documents, parts, read, root, rowsOf, run, sectionOf, ticked } from './tree.mjs';

const BIN = process.env.BIN;

// Programs that may run here: they read the tree, or write below the home folder.
const HARMLESS = /^(tshark|install -D|protocol_doc|lobby_check|lobby_client|openssl|cat|grep) /;
// Commands left out here.
const ELSEWHERE = [
  // They are how this test comes to run.
  /^(scripts\/install-deps\.sh|\.\/test\.sh|cmake --preset|ctest --preset)/,
  // A test of its own packs and installs.
  /^cpack /,
  // They build, and take minutes.
  /^(\.\/demo\.sh|bench\/run\.sh|\.\/fuzz\.sh)/,
];

const blocks = documents.flatMap((document) => parts(read(document)).blocks
  .map((block) => ({ ...block, where: `${document}:${block.line}` })));

// Every command, one per line of a block.
const commands = blocks.filter(({ info }) => info.startsWith('sh')).flatMap(({ info, text, where }) =>
  text.replace(/\\\n\s*/g, '').split('\n').map((line) => line.replace(/(^| +)# .*/, '')).filter(Boolean)
    .map((command) => ({ info, command, at: `${where}: ${command}` })));

test('commands do what they say', () => {
  const home = fs.mkdtempSync(path.join(os.tmpdir(), 'lobby-docs-'));
  const env = { ...process.env, HOME: home, PATH: `${BIN}:${process.env.PATH}` };
  const here = commands.filter(({ info, command }) =>
    info === 'sh' && !ELSEWHERE.some((pattern) => pattern.test(command)));
  for (const { command, at } of here) {
    assert.match(command, HARMLESS, `${at}: mark the block "sh norun"`);
    const { status, stderr } = spawnSync('bash', ['-euo', 'pipefail', '-c', command],
      { cwd: root, env, timeout: 60000 });
    assert.equal(status, 0, `${at}\n${stderr}`);
  }
  fs.rmSync(home, { recursive: true });
  assert.ok(here.length > 0);
});

function helpOf(program) {
  const own = run(program, ['--help']);
  const subcommands = own.split('Subcommands:')[1]?.matchAll(/^ {2}(\w+)/gm) ?? [];
  return own + [...subcommands].map(([, name]) => run(program, [name, '--help'])).join('');
}

test('options of the tools exist', () => {
  const tools = ['lobby_client', 'lobby_load', 'lobby_check', 'platform_sim'];
  const help = Object.fromEntries(tools.filter((tool) => fs.existsSync(path.join(BIN, tool)))
    .map((tool) => [tool, helpOf(path.join(BIN, tool))]));
  const unknown = commands.flatMap(({ at, command }) => {
    const tool = Object.keys(help).find((name) => new RegExp(`(^|[ /])${name} `).test(command));
    return [...command.matchAll(/ (--?[a-z][\w-]*)/g)].filter(([, option]) =>
      tool && !new RegExp(`(^|[\\s,])${option}(?![\\w-])`).test(help[tool])).map(([option]) => at + option);
  });
  assert.deepEqual(unknown, []);
});

test('the commands of the simulator are those it lists', () => {
  const { stdout } = spawnSync(path.join(BIN, 'platform_sim'), ['--quiet'], { input: 'help\nquit\n' });
  const listed = [...`${stdout}`.matchAll(/^([a-z]+) /gm)].map(([, name]) => name);
  const told = rowsOf(sectionOf(read('docs/simulator.md'), '## Commands'))
    .flatMap(([cell]) => ticked(cell)).map((text) => text.split(' ')[0]);
  assert.deepEqual([...new Set(told)].sort(), listed.filter((name) => name !== 'ports').sort());
});

// A command in a block without a mark would go unrun unnoticed.
test('blocks of commands are marked as such', () => {
  const known = ['sh', 'sh norun', 'ini', 'yaml', 'text', 'json', 'js', 'html', 'cpp', ''];
  const isCommand =
    /^(\$ |sudo |apt|dpkg|systemctl|cmake|ctest|\.\/\w+\.sh|redis-cli|tshark|lobby_\w+ -)/m;
  const wrong = blocks.filter(({ info, text }) =>
    !known.includes(info) || (!info.startsWith('sh') && isCommand.test(text)));
  assert.deepEqual(wrong.map(({ where, info }) => `${where} ${info}`), []);
});
