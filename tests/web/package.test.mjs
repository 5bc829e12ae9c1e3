// The library as others get it: packed, installed, its types checked, its README's client run.
import assert from 'node:assert/strict';
import { execFile, execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { after, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';
import { startSystem } from './support/system.mjs';

const here = path.dirname(fileURLToPath(import.meta.url));
const web = path.join(here, '../../web');
const modules = process.env.WEB_MODULES;
// Below the tests' npm packages, so that those are found, too.
const folder = fs.mkdtempSync(path.join(modules, 'client-'));
after(() => fs.rmSync(folder, { recursive: true }));
const npm = (...args) =>
  execFileSync('npm', args, { cwd: folder, stdio: ['ignore', 'pipe', 'pipe'] }).toString();

test('the package holds what it needs and nothing else; its types are checked by tsc', () => {
  const [{ filename, files, version }] = JSON.parse(npm('pack', '--json', web));
  const project = fs.readFileSync(path.join(here, '../../CMakeLists.txt'), 'utf8');
  assert.equal(version, /LobbyServer VERSION (\S+)/.exec(project)[1]);
  assert.deepEqual(files.map((file) => file.path).sort(), ['README.md', 'lobby-codec.js',
    'lobby-layouts.js', 'lobby-messages.d.ts', 'lobby-messages.js', 'lobby-protocol.d.ts',
    'lobby-protocol.js', 'package.json']);
  fs.writeFileSync(path.join(folder, 'package.json'), '{"type": "module", "private": true}');
  npm('install', '--offline', '--no-audit', '--no-fund', `./${filename}`);
  fs.copyFileSync(path.join(here, 'types/client.ts'), path.join(folder, 'client.ts'));
  const tsc = path.join(modules, 'node_modules/typescript/bin/tsc');
  execFileSync(process.execPath, [tsc, '--strict', '--noEmit', '--target', 'es2022', '--module',
    'nodenext', '--moduleResolution', 'nodenext', 'client.ts'],
  { cwd: folder, stdio: ['ignore', 'inherit', 'inherit'] });
});

test('the client of the README runs as it stands there', async (t) => {
  const system = await startSystem();
  t.after(() => system.stop());
  const [, code] = /```js\n(.*?)```/s.exec(fs.readFileSync(path.join(web, 'README.md'), 'utf8'));
  fs.writeFileSync(path.join(folder, 'client.js'), code);
  const { stdout } = await promisify(execFile)(process.execPath, ['client.js', system.url], { cwd: folder });
  assert.match(stdout, /in the bank: \d+n\nrefused 157 The amount must be at least 1\.\nclosed: asked/);
});
