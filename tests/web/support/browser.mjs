// Chromium with the page in it.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { AXE, chromium } from './modules.mjs';

const axe = fs.readFileSync(AXE, 'utf8');

export function launch() {
  return chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
      '--disable-background-networking',
      '--host-resolver-rules=MAP player.test 127.0.0.1', '--disable-component-update', '--disable-sync'],
  });
}

export const DESKTOP = { width: 1280, height: 900 };
export const PHONE = { width: 390, height: 844 };

// Opens a page; errors that it throws end up in `faults`, what it loads from elsewhere in `elsewhere`.
export async function openPage(browser, url, ready = 'body[data-ready]') {
  const page = await browser.newPage({ viewport: DESKTOP });
  page.setDefaultTimeout(15000);
  page.faults = [];
  page.elsewhere = [];
  page.on('request', (request) =>
    request.url().startsWith(new URL(url).origin) || page.elsewhere.push(request.url()));
  page.on('pageerror', (error) => page.faults.push(error.message));
  page.on('console', (line) => line.type() === 'error' && page.faults.push(line.text()));
  await page.goto(url);
  await page.waitForSelector(ready);
  return page;
}

// Writes a picture of the whole page, which is not wider than its window, and in which the checker of
// accessibility finds nothing. Of rooms and messages, each like the other, it looks at three: they
// are what it takes longest for.
export async function look(page, name, viewport, colorScheme = 'light') {
  await page.setViewportSize(viewport);
  await page.emulateMedia({ colorScheme });
  await page.screenshot({ path: path.join(process.env.WEB_SHOTS, `${name}.png`), fullPage: true });
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth
    <= document.documentElement.clientWidth), `${name} is too wide`);
  await page.evaluate(axe);
  const { violations, passes } = await page.evaluate(() => window.axe.run(
    { exclude: ['#server-rows tr:nth-child(n + 4)', '#log li:nth-child(n + 4)'] }, { resultTypes: ['violations'] }));
  assert.deepEqual(violations.flatMap(({ id, nodes }) =>
    nodes.map((node) => `${id}: ${node.html}: ${node.failureSummary}`)), [], name);
  assert.ok(passes.some(({ id }) => id === 'color-contrast'), name);
}
