// Drives the boardroom's web panel in a real browser: a phone in English and a panel in Chinese, side by side.
// Usage: node web_panel.mjs ARKIVON ARKC ARKCTL EXAMPLE_DIRECTORY BROWSER [PICTURES]
// With PICTURES, a directory, screenshots are left there.
import assert from 'node:assert/strict';
import { mkdtempSync, rmSync } from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { chromium } from 'playwright-core';
import { Controller } from './controller.mjs';
import { faults, shown, textFaults } from './looks.mjs';

const [arkivon, arkc, arkctl, example, executablePath, pictures] = process.argv.slice(2);
const WAIT_MS = 20000;
const PHONE_SIZES = [[390, 844], [360, 640]];
const PANEL_SIZES = [[1280, 800], [1024, 600], [800, 1280]];
const PHONE = { viewport: { width: 390, height: 844 }, locale: 'en-US', hasTouch: true, isMobile: true };
const PANEL = { viewport: { width: 1280, height: 800 }, locale: 'zh-CN', hasTouch: true };

const key = (page, message) => page.locator(`[data-send="${message}"]`);

/// Waits until a page shows all this.
async function shows(page, wanted, waitMs = WAIT_MS) {
  const now = await page.evaluate(shown, [wanted, waitMs]);
  assert.deepEqual({ ...now, ...wanted }, now);
}

async function picture(page, name) {
  if (pictures) await page.screenshot({ path: path.join(pictures, `${name}.png`), animations: 'disabled' });
}

// ---- the room

const STARTED = { lit: 'off', level: '30', slider: '30', isAway: false, isDisabled: false };

let room;
let phone;
let panel;
const requests = [];
const complaints = [];

async function open(browser, kind) {
  const page = await (await browser.newContext(kind)).newPage();
  page.on('request', (request) => requests.push(request.url()));
  page.on('pageerror', (error) => complaints.push(String(error)));
  page.on('response', (response) => { if (response.status() >= 400) complaints.push(response.url()); });
  page.on('console', (message) => {
    const isExpected = /WebSocket connection/.test(message.text()); // while the controller is away
    if (['error', 'warning'].includes(message.type()) && !isExpected) complaints.push(message.text());
  });
  await page.goto(room.url);
  return page;
}

/// Pushes a key; the controller must say what it does, and both pages show what came of it.
async function push(page, message, line, wanted) {
  const from = room.output.length;
  await key(page, message).tap();
  await room.line(line, from);
  await shows(phone, wanted);
  if (!('status' in wanted)) await shows(panel, wanted); // in its own language
}

/// A command for projector or amplifier, as monitor lines show it.
const hex = (text) => new RegExp(Buffer.from(`${text}\r`).toString('hex').match(/../g).join(' '), 'i');

async function switchesOn() {
  await shows(phone, { ...STARTED, status: 'The room is off' });
  await shows(panel, { lit: 'off', status: '会议室已关闭' });
  // The first volume that the program itself sends comes back as an event; nobody has touched a fader.
  await push(phone, 'mute', hex('VOL 0'), { lit: 'off mute', level: '0' });
  await push(panel, 'mute', hex('VOL 30'), { lit: 'off', level: '30' });
  const hint = shows(phone, { lit: 'off', status: 'Switch the room on first' });
  await key(phone, 'source 2').tap();
  await hint;
  await shows(phone, { lit: 'off', status: 'The room is off' }); // a hint goes again
  await push(phone, 'on', /On relay: 8/, { lit: 'on down', status: 'The projector is warming up' });
  await picture(phone, 'phone-en-warming');
  await push(panel, 'stop', /On relay: 3/, { lit: 'on stop' });
  await shows(phone, { lit: 'on source 1 stop', status: 'Ready' });
  await shows(panel, { status: '就绪' });
}

async function controlsTheRoom() {
  await push(panel, 'source 3', hex('INPT 3'), { lit: 'on source 3 stop' });
  await push(phone, 'preset 3', hex('VOL 20'), { lit: 'on source 2 up preset 3', level: '20', status: 'Preset Meeting' });
  await shows(panel, { lit: 'on source 2 up preset 3', status: '场景：会议' });
  await push(panel, 'louder', hex('VOL 25'), { lit: 'on source 2 up', level: '25', slider: '25' });
  await push(phone, 'quieter', hex('VOL 20'), { lit: 'on source 2 up preset 3', level: '20' });
  await push(phone, 'mute', hex('VOL 0'), { lit: 'on source 2 mute up', level: '0' });
  await push(panel, 'mute', hex('VOL 20'), { lit: 'on source 2 up preset 3', level: '20' });
  await push(panel, 'preset 2', hex('VOL 60'), { lit: 'on source 3 down preset 2', level: '60' });

  let from = room.output.length;
  await phone.locator('#slider').fill('65');
  await room.line(hex('VOL 65'), from);
  await shows(panel, { level: '65', slider: '65' });

  // Held for three steps and more, with the finger sliding off the key.
  from = room.output.length;
  const box = await key(panel, 'louder').boundingBox();
  await panel.mouse.move(box.x + 10, box.y + 10);
  await panel.mouse.down();
  await room.line(hex('VOL 75'), from);
  await panel.mouse.move(5, 5);
  await panel.mouse.up();
  from = room.output.length;
  await push(phone, 'source 4', hex('INPT 4'), { lit: 'on source 4 down' });
  const level = await panel.locator('#level').textContent();
  await room.line(/20 3F 0D[^]* 20 3F 0D/, from); // two questions to the projector, seconds later: nobody pushes
  await shows(panel, { level });

  // With the keyboard.
  from = room.output.length;
  await key(panel, 'source 1').focus();
  await panel.keyboard.press('Tab');
  await panel.keyboard.press('Enter');
  await room.line(hex('INPT 2'), from);
  await key(panel, 'quieter').press('Enter');
  await shows(panel, { lit: 'on source 2 down', level: `${level - 5}` });
}

/// The program's own panels move the pages, and a reload changes nothing.
async function showsWhatIsTrue() {
  room.panel('10001', 'level', '1', '45');
  await shows(phone, { level: '45', slider: '45' });
  room.panel('10002', 'press', '14');
  const state = { lit: 'on source 4 down', level: '45', isAway: false };
  await shows(phone, state);
  await phone.reload();
  await shows(phone, state);
  await shows(panel, state);
}

/// Anyone in the network can connect and say anything.
async function passesGarbageOver() {
  const from = room.output.length;
  await panel.evaluate((port) => new Promise((resolve) => {
    const socket = new WebSocket(`ws://${location.hostname}:${port}`);
    socket.onopen = () => {
      for (const text of ['', ' ', 'volume', 'volume ', 'volume abc', 'volume -1', 'volume 101', 'volume 7x',
        'volume 4294967301', 'ask', 'ask x', 'sure 1', 'source 0', 'source 5', 'source 1 ', 'preset 9', 'ON', 'on 1', '音量',
        'x'.repeat(100000)]) socket.send(text);
      socket.send(new Uint8Array([0, 255, 254, 13, 10]));
      socket.close();
    };
    socket.onclose = resolve;
  }), room.panelPort);
  await room.line(/Device 0:1:0 offline/, from);
  await shows(phone, { lit: 'on source 4 down', level: '45', isAway: false });
  assert.doesNotMatch(room.output.slice(from), /Error:|Warning:|INPT|set level value/);
}

/// The controller ends, and comes back with the room as it then is.
async function survivesARestart() {
  await room.stop('SIGKILL');
  for (const page of [phone, panel]) await shows(page, { lit: '', level: '–', isAway: true, isDisabled: true });
  await phone.locator('#away').filter({ hasText: 'The controller is away' }).waitFor();
  await panel.locator('#away').filter({ hasText: '控制器未连接' }).waitFor();
  await looksRight('away');
  await room.start();
  await phone.locator('#retry').tap({ timeout: 3000 }).catch(() => {}); // it may be back already
  for (const page of [phone, panel]) await shows(page, STARTED);
  await push(panel, 'on', /On relay: 8/, { lit: 'on down' });
  await shows(phone, { lit: 'on source 4 down', status: 'Ready' }); // the program remembers its source
}

/// A controller that says nothing more, as after a power cut: no connection ends, and yet the page notices. What was
/// tapped meanwhile nobody wants any more when it comes back.
async function noticesSilence() {
  room.signal('SIGSTOP');
  await key(panel, 'stop').tap();
  await shows(panel, { lit: 'on source 4 down' }, 0); // the page assumes nothing
  await shows(phone, { lit: '', isAway: true, isDisabled: true });
  room.signal('SIGCONT');
  for (const page of [phone, panel]) await shows(page, { lit: 'on source 4 down', isAway: false, isDisabled: false });
  await push(panel, 'up', /On relay: 2/, { lit: 'on source 4 up' }); // would come behind it
  assert.doesNotMatch(room.output, /On relay: 3[^]*On relay: 3/); // stop: only the one at the beginning
}

async function remembersTheLanguage() {
  await phone.locator('#language').tap();
  await shows(phone, { status: '就绪', isAway: false });
  await phone.reload();
  await shows(phone, { status: '就绪', isAway: false });
  assert.equal(await phone.locator('html').getAttribute('lang'), 'zh-CN');
  await looksRight('zh');
  await panel.locator('#language').tap();
  await looksRight('en');
}

/// Sizes and contrasts, of both pages as they are now, on screens of several sizes; the picture is of the first.
async function looksRight(name) {
  for (const [page, kind, sizes] of [[phone, 'phone', PHONE_SIZES], [panel, 'panel', PANEL_SIZES]]) {
    for (const [width, height] of [...sizes, sizes[0]]) {
      await page.setViewportSize({ width, height });
      assert.deepEqual(await page.evaluate(faults), [], `${kind}, ${name}, ${width} x ${height}`);
    }
    await picture(page, `${kind}-${name}`);
  }
}

async function main(browser) {
  await room.start();
  phone = await open(browser, PHONE);
  panel = await open(browser, PANEL);
  assert.deepEqual(await phone.evaluate(textFaults), []);
  const steps = [switchesOn, controlsTheRoom, showsWhatIsTrue, passesGarbageOver, () => looksRight('on'),
    survivesARestart, noticesSilence, remembersTheLanguage];
  for (const step of steps) {
    const start = Date.now();
    await step();
    console.log(`passed: ${step.name || 'looksRight'} (${Date.now() - start} ms)`);
  }
  assert.deepEqual(complaints, []);
  const isOurs = (url) => url.startsWith(`http://${room.address}:`) || url.startsWith('data:');
  assert.deepEqual(requests.filter((url) => !isOurs(url)), []);
  // A page that was closed is a connection that is gone: the program talks to nobody.
  await browser.close();
  await room.line(/(offline[^]*){2}/, room.output.length - 4000);
}

const scratch = mkdtempSync(path.join(os.tmpdir(), 'web-panel-'));
const isRoot = process.getuid() === 0;
let browser;

async function end(status) {
  room?.end();
  await browser?.close();
  rmSync(scratch, { recursive: true, force: true });
  process.exit(status);
}

process.on('SIGTERM', () => end(1));
try {
  room = await Controller.make({ arkivon, arkc, arkctl }, example, scratch);
  browser = await chromium.launch({ executablePath, chromiumSandbox: !isRoot });
  await main(browser);
} catch (error) {
  console.log(`FAILED: ${error.stack}`);
  for (const complaint of complaints) console.log(`the page said: ${complaint}`);
  if (room) console.log(`-- the controller's last lines\n${room.output.slice(-3000)}`);
  await end(1);
}
await end(0);
