// The operator's page in Chromium, while a link goes down and comes back.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { launch, look, PHONE } from './support/browser.mjs';
import { startSystem } from './support/system.mjs';

let system, browser;
before(async () => {
  system = await startSystem();
  browser = await launch();
});
after(async () => {
  await browser?.close();
  await system?.stop();
});

test('the page shows the lobby, and a link that goes and comes back', async () => {
  const page = await browser.newPage({ viewport: { width: 1280, height: 900 } });
  const faults = [], elsewhere = [];
  page.on('pageerror', (error) => faults.push(error.message));
  page.on('console', (line) => line.type() === 'error' && faults.push(line.text()));
  page.on('request', (request) =>
    request.url().startsWith(system.metrics) || elsewhere.push(request.url()));
  await page.goto(system.metrics);
  const queue = page.getByRole('row', { name: /^queue / });
  await queue.getByText('up', { exact: true }).waitFor();
  assert.equal(await page.getByRole('status').textContent(), 'serving');
  assert.match(await page.locator('#about').textContent(), /^version 4\.[\d.]+, up \d/);
  assert.equal(await page.getByRole('row').count(), 1 + 6 + 1);

  await system.command('down queue');
  await queue.getByText('down', { exact: true }).waitFor();
  assert.doesNotMatch(await queue.textContent(), /never/);
  await look(page, 'operator-link-down');
  await system.command('up queue');
  await queue.getByText('up', { exact: true }).waitFor();

  // A sample every five seconds: the second is the first to show, as a flat line without height.
  await page.locator('.figure path[d^=M]').first().waitFor({ state: 'attached', timeout: 20000 });
  for (const figure of await page.locator('.figure').all()) {
    assert.match(await figure.textContent(), /\d.*at most [\d.,]+/);
  }
  await look(page, 'operator', { width: 1280, height: 900 });
  await look(page, 'operator-phone', PHONE);
  assert.deepEqual({ faults, elsewhere }, { faults: [], elsewhere: [] });

  await system.stop();
  await page.getByRole('status').getByText('does not answer').waitFor();
  await page.close();
});
