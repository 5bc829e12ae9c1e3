// The client library, packed by npm and installed into a folder of its own.
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const web = fileURLToPath(new URL('../../../web', import.meta.url));
const npm = (cwd, ...args) => execFileSync('npm', args, { cwd, stdio: ['ignore', 'pipe', 'pipe'] }).toString();

// Below the tests' npm packages, so that those are found, too.
export function installed() {
  const folder = fs.mkdtempSync(path.join(process.env.WEB_MODULES, 'client-'));
  const [{ filename, files, version }] = JSON.parse(npm(folder, 'pack', '--json', web));
  fs.writeFileSync(path.join(folder, 'package.json'), '{"type": "module", "private": true}');
  npm(folder, 'install', '--offline', '--no-audit', '--no-fund', `./${filename}`);
  process.on('exit', () => fs.rmSync(folder, { recursive: true }));
  return { folder, version, files: files.map((file) => file.path) };
}

// The code of a document that stands in its n-th block of a language.
export function codeBlock(file, language, n = 0) {
  const text = fs.readFileSync(path.join(web, file), 'utf8');
  return [...text.matchAll(new RegExp('```' + language + '\\n(.*?)```', 'gs'))][n][1];
}
