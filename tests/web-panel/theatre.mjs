// Drives the home theatre's web panel in a real browser, with its simulated devices.
// Usage: node theatre.mjs ARKIVON ARKC ARKCTL EXAMPLE_DIRECTORY BROWSER [PICTURES]
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { chromium } from 'playwright-core';
import { Controller } from './controller.mjs';
import { faults, shown, textFaults } from './looks.mjs';

const [arkivon, arkc, arkctl, example, executablePath, pictures] = process.argv.slice(2);
const WAIT_MS = 20000;
const SIZES = [[390, 844], [360, 640], [1280, 800], [1024, 600], [800, 1280]];
const DEVICES = ['projector', 'amplifier', 'house'];

const devices = {};
let room;
let browser;

function startDevices() {
  for (const name of DEVICES) {
    const options = name === 'projector' ? ['--warm-up', '0.5', '--cool-down', '0.5'] : [];
    const script = path.join(example, 'devices', `${name}.py`);
    devices[name] = spawn('python3', ['-B', script, '--bind', room.address, ...options], { stdio: 'ignore' });
  }
}

async function shows(page, wanted) {
  const now = await page.evaluate(shown, [wanted, WAIT_MS]);
  assert.deepEqual({ ...now, ...wanted }, now);
}

async function main() {
  startDevices();
  await room.start();
  const page = await (await browser.newContext({ locale: 'en-US', hasTouch: true })).newPage();
  const complaints = [];
  page.on('pageerror', (error) => complaints.push(String(error)));
  page.on('response', (response) => { if (response.status() >= 400) complaints.push(response.url()); });
  await page.goto(room.url);
  const tap = (message) => page.locator(`[data-send="${message}"]`).tap();

  await shows(page, { lit: 'off blindsup', status: 'The theatre is off', isAway: false, isDisabled: false });
  assert.deepEqual(await page.evaluate(textFaults), []);
  await tap('film');
  await shows(page, { lit: 'film lamp 4 blindsdown', status: 'Film: ready', level: '45' });
  await tap('lamp 1');
  await shows(page, { lit: 'film lamp 1 lamp 4 blindsdown' });
  devices.amplifier.kill('SIGUSR1'); // someone turns its knob
  await shows(page, { level: '50', slider: '50' });
  await page.locator('#slider').fill('65');
  await shows(page, { level: '65' });
  devices.house.kill('SIGKILL');
  await shows(page, { status: 'The lights are away' });
  await tap('music');
  await page.locator('#language').tap();
  await page.reload(); // the page remembers it
  await shows(page, { status: '灯光控制器未连接', isDisabled: false });
  for (const [width, height] of SIZES) {
    await page.setViewportSize({ width, height });
    assert.deepEqual(await page.evaluate(faults), [], `${width} x ${height}`);
    if (pictures) await page.screenshot({ path: path.join(pictures, `theatre-${width}.png`), animations: 'disabled' });
  }
  assert.deepEqual(complaints, []);
}

async function end(status) {
  for (const device of Object.values(devices)) device.kill('SIGKILL');
  room?.end();
  await browser?.close();
  rmSync(scratch, { recursive: true, force: true });
  process.exit(status);
}

const scratch = mkdtempSync(path.join(os.tmpdir(), 'theatre-panel-'));
process.on('SIGTERM', () => end(1));
try {
  room = await Controller.make({ arkivon, arkc, arkctl }, example, scratch);
  browser = await chromium.launch({ executablePath, chromiumSandbox: process.getuid() !== 0 });
  await main();
} catch (error) {
  console.log(`FAILED: ${error.stack}`);
  if (room) console.log(`-- the controller's last lines\n${room.output.slice(-3000)}`);
  await end(1);
}
await end(0);
