// The library as others get it: packed, installed, its types checked.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { installed } from './support/library.mjs';

const here = path.dirname(fileURLToPath(import.meta.url));
const modules = process.env.WEB_MODULES;

test('the package holds what it needs and nothing else; its types are checked by tsc', () => {
  const { folder, files, version } = installed();
  const project = fs.readFileSync(path.join(here, '../../CMakeLists.txt'), 'utf8');
  assert.equal(version, /LobbyServer VERSION (\S+)/.exec(project)[1]);
  assert.deepEqual(files.sort(), ['README.md', 'lobby-codec.js', 'lobby-layouts.js',
    'lobby-messages.d.ts', 'lobby-messages.js', 'lobby-protocol.d.ts', 'lobby-protocol.js',
    'package.json']);
  fs.copyFileSync(path.join(here, 'types/client.ts'), path.join(folder, 'client.ts'));
  const tsc = path.join(modules, 'node_modules/typescript/bin/tsc');
  execFileSync(process.execPath, [tsc, '--strict', '--noEmit', '--target', 'es2022', '--module',
    'nodenext', '--moduleResolution', 'nodenext', 'client.ts'],
  { cwd: folder, stdio: ['ignore', 'inherit', 'inherit'] });
});
