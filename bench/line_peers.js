// The peers of crowd.src: line_peers.js ADDRESS PORT OWN-ADDRESS OWN-PORT COUNT LINES-PER-SECOND
// A server for the program's clients, and as many connections to the program's server. Every connection on either side
// sends so many lines a second. Prints "ready" when all are there, and at its end how many lines were answered.
const net = require('net');
const [address, port, ownAddress, ownPort, count, rate] = process.argv.slice(2);
const sockets = [];
let sent = 0;
let answered = 0;

function add(socket) {
    sockets.push(socket);
    socket.on('data', text => { answered += text.toString('latin1').split('OK').length - 1; });
    socket.on('error', () => {});
    if (sockets.length === 2 * count) {
        console.log('ready');
        start();
    }
}

// A tenth of the connections in turns, so that the lines are spread over the second.
function start() {
    const perTick = Math.max(1, Math.round(sockets.length * rate / 100));
    let next = 0;
    if (Number(rate) > 0) {
        setInterval(() => {
            for (let line = 0; line < perTick; ++line) {
                sockets[next++ % sockets.length].write('a line of a device, of the usual length\n');
                ++sent;
            }
        }, 10);
    }
}

function connectSome() { // a few at a time
    for (let some = 0; some < 20 && connectSome.count < count; ++some, ++connectSome.count) {
        const socket = net.connect(Number(port), address, () => add(socket));
    }
    if (connectSome.count < count) {
        setTimeout(connectSome, 5);
    }
}
connectSome.count = 0;

net.createServer({ noDelay: true, backlog: 1024 }, add).listen(Number(ownPort), ownAddress, () => console.log('listening'));
process.on('SIGUSR1', connectSome); // the program has started
process.on('SIGTERM', () => {
    console.log(`sent ${sent}`);
    console.log(`answered ${answered}`);
    process.exit();
});
setTimeout(() => process.exit(), 1800 * 1000).unref();
