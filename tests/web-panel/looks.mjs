// What the browser runs in the page: none of these sees anything of this file but itself.

/// Waits until the page shows what is wanted; gives what it shows then, or at the end of its patience.
export function shown([wanted, waitMs]) {
  const litKeys = () => [...document.querySelectorAll('[data-lit][aria-pressed="true"]')];
  const state = () => ({
    lit: litKeys().map((button) => button.dataset.send).join(' '),
    status: document.querySelector('#status').textContent,
    level: document.querySelector('#level').textContent,
    slider: document.querySelector('#slider').value,
    isAway: document.querySelector('#banner').offsetHeight > 0,
    isDisabled: !document.querySelector('#room button:not(:disabled), #room input:not(:disabled)'),
  });
  const end = performance.now() + waitMs;
  return new Promise((resolve) => {
    const look = () => {
      const now = state();
      const isThere = Object.keys(wanted).every((one) => now[one] === wanted[one]);
      if (isThere || performance.now() > end) resolve(now);
      else requestAnimationFrame(look);
    };
    look();
  });
}

/// Keys that are too small for a finger or have no name, letters that are too faint, and what does not fit the width.
export function faults() {
  const LEAST_PX = 48;
  const LEAST_CONTRAST = 4.5;
  const channels = (colour) => colour.match(/[\d.]+/g).map(Number);
  const linear = (c) => (c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);
  const luminance = (colour) => {
    const [r, g, b] = channels(colour).map((c) => linear(c / 255));
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const ground = (element) => {
    const colour = getComputedStyle(element).backgroundColor;
    const isClear = channels(colour)[3] === 0;
    return isClear && element.parentElement ? ground(element.parentElement) : colour;
  };
  const contrast = (element) => {
    const both = [luminance(getComputedStyle(element).color), luminance(ground(element))];
    return (Math.max(...both) + 0.05) / (Math.min(...both) + 0.05);
  };
  const fits = (element, box) => {
    element.style.overflowWrap = 'normal'; // a word that is broken does not fit
    const isInside = element.scrollWidth <= element.clientWidth + 1;
    element.style.overflowWrap = '';
    return isInside && box.left >= 0 && box.right <= innerWidth;
  };

  const found = [];
  for (const element of document.querySelectorAll('h1, h2, p, output, button, input')) {
    const box = element.getBoundingClientRect();
    if (box.width === 0) continue; // not shown now
    const isKey = element.matches('button, input');
    const what = `${element.tagName} ${element.id || element.textContent}`;
    if (isKey && Math.min(box.width, box.height) < LEAST_PX) found.push(`small: ${what} ${box.width} x ${box.height}`);
    if (isKey && !element.textContent && !element.ariaLabel) found.push(`nameless: ${what}`);
    if (!fits(element, box)) found.push(`does not fit: ${what}`);
    if (!element.disabled && contrast(element) < LEAST_CONTRAST) found.push(`faint: ${what}`);
  }
  if (document.documentElement.scrollWidth > innerWidth) found.push('the page is wider than its window');
  return found;
}

/// Keys of texts that are missing in a language, or say the same in both.
export function textFaults() {
  const elements = [...document.querySelectorAll('[data-text], [data-label]')];
  const used = elements.flatMap((element) => [element.dataset.text, element.dataset.label]).filter(Boolean);
  const keys = new Set([...Object.keys(TEXTS.en), ...Object.keys(TEXTS.zh), ...used]);
  return [...keys].filter((key) => !TEXTS.en[key] || !TEXTS.zh[key] || TEXTS.en[key] === TEXTS.zh[key]);
}
