// npm packages live in the build folder, where npm_install puts them.
import { createRequire } from 'node:module';
import path from 'node:path';

const require = createRequire(path.join(process.env.WEB_MODULES, 'package.json'));

export const { WebSocket } = require('ws');
export const { chromium } = require('playwright-core');
export const AXE = require.resolve('axe-core/axe.min.js');
