// Processor time that a word of the JavaScript library costs its program. A child process plays the field. KELMORA_JS
// names the module.
import { fork } from "node:child_process";
import net from "node:net";
import { pathToFileURL } from "node:url";

if (process.argv[2] === "field") {
  const server = net.createServer((socket) => {
    socket.setNoDelay(true);
    socket.on("data", (data) => socket.write("OK @ 123456 0\n".repeat(data.toString().split("\n").length - 1)));
    socket.on("error", () => {});
  });
  server.listen(0, "127.0.0.1", () => process.send(server.address().port));
  process.on("disconnect", () => process.exit(0));
} else {
  const field = fork(process.argv[1], ["field"]);
  const port = await new Promise((resolve) => field.once("message", resolve));
  const { connect } = await import(pathToFileURL(process.env.KELMORA_JS).href);
  const turtle = await connect({ host: "127.0.0.1", port });
  const COMMANDS = 10000;
  for (let k = 0; k < COMMANDS / 4; k++) await turtle.forward(k % 10);
  const before = process.cpuUsage();
  for (let k = 0; k < COMMANDS; k++) await turtle.forward(k % 10);
  const { user, system } = process.cpuUsage(before);
  console.log(`measured: JavaScript forward ${(user / COMMANDS).toFixed(1)} us user, ${(system / COMMANDS).toFixed(1)} us system`);
  turtle.close();
  field.disconnect();
}
