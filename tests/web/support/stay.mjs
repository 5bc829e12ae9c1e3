// A client that says something, stays, says something again and leaves, in a browser and in node
// alike. Its outcome is "1000 true" where it was answered and closed in order.
export async function stay(Socket, url, ms) {
  const keepAlive = [5, 0, 0, 8, 3, 0, 0xf0, 0xf1];
  const socket = new Socket(url);
  socket.binaryType = 'arraybuffer';
  const next = (name) => new Promise((resolve, reject) => {
    socket.addEventListener(name, resolve, { once: true });
    if (name !== 'close') socket.addEventListener('close', reject, { once: true });
  });
  await next('open');
  for (const pause of [ms, 0]) {
    const echo = next('message');
    socket.send(Uint8Array.from(keepAlive));
    if (String(new Uint8Array((await echo).data)) !== String(keepAlive)) throw new Error('no echo');
    await new Promise((resolve) => { setTimeout(resolve, pause); });
  }
  const end = next('close');
  socket.close(1000);
  return `${(await end).code} ${(await end).wasClean}`;
}
