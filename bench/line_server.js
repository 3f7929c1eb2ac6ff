// The plain form of sockets.src: line_server.js ADDRESS FIRST-PORT SERVERS
const net = require('net');
const [address, firstPort, servers] = process.argv.slice(2);

for (let server = 1; server <= Number(servers); ++server) {
    net.createServer({ noDelay: true }, socket => {
        socket.on('data', text => socket.write('OK ' + text));
        socket.on('error', () => socket.destroy());
    }).listen(Number(firstPort) + server, address);
}

const connections = new Set();
net.createServer({ noDelay: true }, socket => {
    connections.add(socket);
    socket.on('data', text => {
        const answer = 'OK ' + text;
        connections.forEach(each => each.write(answer));
    });
    socket.on('close', () => connections.delete(socket));
    socket.on('error', () => socket.destroy());
}).listen(Number(firstPort), address);

setTimeout(() => process.exit(), 1800 * 1000).unref(); // whoever started it may have gone
process.on('SIGTERM', () => process.exit());
