'use strict';

// The connection to the room's program. It comes back by itself, after a pause that grows from try to try.
class Link {
  static TRY_MS = 5000;           // a try without an answer is given up after this
  static SILENCE_MS = 2500;       // the program speaks every second: who is silent for so long is away
  static FRESH_MS = 1000;         // a wish that is older is nobody's any more
  static FIRST_PAUSE_MS = 500;
  static LONGEST_PAUSE_MS = 15000;

  // onMessage(text), onAway(milliseconds until the next try; 0 while it is tried)
  constructor(url, onMessage, onAway) {
    this.url = url;
    this.onMessage = onMessage;
    this.onAway = onAway;
    this.pauseMs = Link.FIRST_PAUSE_MS;
    this.socket = null;
    this.timer = 0;
    this.wishes = [];              // what waits for the program's "sure", oldest first
    this.asked = 0;
    // A phone that wakes up, or finds its network again, does not wait for the end of the pause.
    document.addEventListener('visibilitychange', () => { if (!document.hidden) this.hurry(); });
    window.addEventListener('online', () => this.hurry());
    this.open();
  }

  // A wish is said only once the program has answered that it listens. One that hangs reads what was said meanwhile
  // when it comes to itself again, and nobody wants the lights to go out then because of a tap a minute ago.
  send(text) {
    if (!this.socket || this.socket.readyState !== WebSocket.OPEN) return;
    this.asked = (this.asked + 1) % 10000;
    this.wishes.push({ number: this.asked, text, at: Date.now() });
    this.socket.send(`ask ${this.asked}`);
  }

  // true: the message was about a wish
  takeAnswer(message) {
    const [word, number] = message.split(' ');
    if (word !== 'sure') return false;
    const index = this.wishes.findIndex((wish) => wish.number === Number(number));
    for (const wish of this.wishes.splice(0, index + 1)) {        // answers come in order
      if (Date.now() - wish.at < Link.FRESH_MS) this.socket.send(wish.text);
    }
    return true;
  }

  hurry() {
    if (!this.socket) this.tryAgain();
  }

  tryAgain() {
    this.onAway(0);
    this.open();
  }

  open() {
    const socket = new WebSocket(this.url);
    socket.binaryType = 'arraybuffer';
    this.socket = socket;
    this.loseAfter(Link.TRY_MS);
    socket.onmessage = (event) => {
      this.pauseMs = Link.FIRST_PAUSE_MS;
      this.loseAfter(Link.SILENCE_MS);
      const message = typeof event.data === 'string' ? event.data : new TextDecoder().decode(event.data);
      if (!this.takeAnswer(message)) this.onMessage(message);
    };
    socket.onclose = () => this.lose();
  }

  loseAfter(milliseconds) {
    clearTimeout(this.timer);
    this.timer = setTimeout(() => this.lose(), milliseconds);
  }

  // Forgets the connection, also one that would take minutes to notice its end, and plans the next try.
  lose() {
    const socket = this.socket;
    socket.onmessage = socket.onclose = null;
    socket.close();
    this.socket = null;
    this.wishes = [];
    clearTimeout(this.timer);
    const pauseMs = this.pauseMs * (0.75 + Math.random() / 2);    // panels don't all come back at the same moment
    this.pauseMs = Math.min(this.pauseMs * 2, Link.LONGEST_PAUSE_MS);
    this.timer = setTimeout(() => this.tryAgain(), pauseMs);
    this.onAway(pauseMs);
  }
}
