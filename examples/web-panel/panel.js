'use strict';

// The panel: buttons tell the room's program what is wanted; what is lit comes from the program only.
// The messages are described in the webpanel.src of each room.

const PORT = 8081;                // WEB_PANEL_PORT of the program; ?port=N in the page's address takes another one
const REPEAT_MS = 300;            // a held button says itself again
const SLIDE_MS = 100;             // a moving slider speaks at most this often
const SETTLE_MS = 600;            // a slider that was let go waits so long for the room, then follows it

const byId = (id) => document.getElementById(id);
const every = (selector) => document.querySelectorAll(selector);

let room = null;                  // the fields of the last state; null while the controller is away
let nextTryAt = null;             // while it is away: when it is tried again; null at the first try

// ---- languages

function rememberedLanguage() {
  try { return localStorage.getItem('language'); } catch { return null; }     // a browser may forbid it
}

function rememberLanguage() {
  try { localStorage.setItem('language', language); } catch { /* then the browser's language comes back */ }
}

let language = rememberedLanguage() || (navigator.language.toLowerCase().startsWith('zh') ? 'zh' : 'en');

const text = (key) => TEXTS[language][key];
const programText = (words) => PROGRAM_TEXTS[language][words] || words;

function showTexts() {
  document.documentElement.lang = language === 'zh' ? 'zh-CN' : 'en';
  document.title = text('title');
  for (const element of every('[data-text]')) element.textContent = text(element.dataset.text);
  for (const element of every('[data-label]')) element.setAttribute('aria-label', text(element.dataset.label));
  const toChinese = language === 'en';
  byId('language').textContent = toChinese ? '中文' : 'English';
  byId('language').lang = toChinese ? 'zh-CN' : 'en';
  byId('language').setAttribute('aria-label', toChinese ? '切换到中文' : 'Switch to English');
}

byId('language').addEventListener('click', () => {
  language = language === 'en' ? 'zh' : 'en';
  rememberLanguage();
  showTexts();
  showRoom();
});

// ---- what the room says

// 'room=2|volume=30|…|status=Ready' as an object
function fieldsOf(message) {
  const fields = {};
  for (const part of message.split('|')) {
    const equals = part.indexOf('=');
    if (equals > 0) fields[part.slice(0, equals)] = part.slice(equals + 1);
  }
  return fields;
}

function isLit(rule) {
  const [field, values] = rule.split('=');
  return room !== null && values.split(',').includes(room[field]);
}

// Setting a text that stands there already would make a screen reader say it again.
function setText(element, words) {
  if (element.textContent !== words) element.textContent = words;
}

function showPresets() {
  const keys = byId('preset-keys');
  for (let i = 1; room && room[`preset${i}`]; i++) {
    if (keys.children.length < i) {
      keys.append(Object.assign(document.createElement('button'), { type: 'button' }));
      keys.lastChild.dataset.send = `preset ${i}`;
      if ('preset' in room) keys.lastChild.dataset.lit = `preset=${i}`;
    }
    setText(keys.children[i - 1], programText(room[`preset${i}`]));
  }
}

function showVolume() {
  const volume = room ? room.volume : '';
  setText(byId('level'), volume || '–');
  if (!slide.isHeld) {
    byId('slider').value = volume || 0;
    byId('slider').style.setProperty('--filled', `${volume || 0}%`);
  }
}

function showAway() {
  byId('banner').hidden = room !== null;
  byId('retry').hidden = nextTryAt === null;
  if (room) return;
  const seconds = Math.ceil((nextTryAt - Date.now()) / 1000);
  setText(byId('away'), nextTryAt === null ? text('connecting')
    : seconds > 0 ? text('away').replace('%1', seconds) : text('trying'));
}

function showRoom() {
  byId('room').disabled = room === null;
  document.body.dataset.room = room ? room.room : 'away';
  setText(byId('status'), room ? programText(room.status) : '');
  showPresets();
  for (const button of every('[data-lit]')) button.setAttribute('aria-pressed', isLit(button.dataset.lit));
  showVolume();
  showAway();
}

// ---- what the person does

const held = { timer: 0 };

function letGo() {
  clearInterval(held.timer);
}

document.addEventListener('click', (event) => {
  const button = event.target.closest('[data-send]');
  const wasSent = button && 'repeat' in button.dataset && event.detail > 0;   // when the finger came down
  if (button && !wasSent) link.send(button.dataset.send);
});

for (const button of every('[data-repeat]')) {
  button.addEventListener('pointerdown', (event) => {
    if (event.button !== 0) return;
    letGo();
    link.send(button.dataset.send);
    held.timer = setInterval(() => link.send(button.dataset.send), REPEAT_MS);
  });
  button.addEventListener('contextmenu', (event) => event.preventDefault());
}
for (const end of ['pointerup', 'pointercancel', 'blur']) window.addEventListener(end, letGo);

// The thumb is under the finger; the number beside it is the room's.
const slide = { isHeld: false, sendTimer: 0, settleTimer: 0 };

byId('slider').addEventListener('input', () => {
  const slider = byId('slider');
  slide.isHeld = true;
  slider.style.setProperty('--filled', `${slider.value}%`);
  clearTimeout(slide.settleTimer);
  slide.settleTimer = setTimeout(() => { slide.isHeld = false; showVolume(); }, SETTLE_MS);
  if (!slide.sendTimer) {
    slide.sendTimer = setTimeout(() => {
      slide.sendTimer = 0;
      link.send(`volume ${slider.value}`);
    }, SLIDE_MS);
  }
});

byId('retry').addEventListener('click', () => link.hurry());

// ---- the connection

function takeMessage(message) {
  const fields = fieldsOf(message);
  if (!('room' in fields)) return;      // not of this program
  room = fields;
  showRoom();
}

function takeAway(milliseconds) {
  letGo();
  room = null;
  nextTryAt = Date.now() + milliseconds;
  showRoom();
}

showTexts();
showRoom();
const port = new URLSearchParams(location.search).get('port') || PORT;
const link = new Link(`ws://${location.hostname}:${port}/`, takeMessage, takeAway);
setInterval(() => { if (nextTryAt !== null) showAway(); }, 500);
