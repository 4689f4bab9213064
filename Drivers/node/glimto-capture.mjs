// Drives glimto-capture from Node.js 18 and later, with nothing but its own modules. Types: glimto-capture.d.mts.
//
//     const recording = record("demo", ["--system-audio"], { signal: controller.signal });
//     await recording.started;
//     setTimeout(() => recording.stop(), 10_000);
//     const take = await recording.finished;
//
// An AbortSignal stops a recording well: its take is completed and `finished` resolves. Every failure is a
// CaptureError, with the code that the program gave it.
import { spawn } from "node:child_process";
import { createInterface } from "node:readline";

export class CaptureError extends Error {
    constructor(message, code = "") {
        super(message);
        this.name = "CaptureError";
        this.code = code;
    }
}

// The last line that begins with "error: ", and all that follows it.
function reason(errors, status, signal) {
    const start = ("\n" + errors).lastIndexOf("\nerror: ");
    if (start >= 0)
        return errors.slice(start + "error: ".length).trimEnd();
    return signal ? `glimto-capture ended by ${signal}` : `glimto-capture failed with status ${status}`;
}

function start(args, { program = "glimto-capture", env = process.env } = {}) {
    // A group of its own: a Ctrl-C at the terminal reaches the application, which stops the recording.
    const child = spawn(program, args.map(String), { env, stdio: ["ignore", "pipe", "pipe"], detached: true });
    let errors = "";
    child.stderr.setEncoding("utf8").on("data", (text) => (errors += text));
    const ended = new Promise((resolve, reject) => {
        child.on("error", (error) => reject(new CaptureError(error.message)));
        child.on("close", (status, signal) => resolve({ status, signal, errors }));
    });
    return { child, ended };
}

// Runs a command that prints one document and ends; what it printed. JSON is decoded.
export async function run(args, { signal, limit = 60_000, ...options } = {}) {
    signal?.throwIfAborted();
    const { child, ended } = start(args, options);
    let output = "";
    child.stdout.setEncoding("utf8").on("data", (text) => (output += text));
    const kill = () => child.kill("SIGTERM");
    const timer = setTimeout(kill, limit);
    signal?.addEventListener("abort", kill);
    try {
        const { status, signal: by, errors } = await ended;
        signal?.throwIfAborted();
        if (status !== 0)
            throw new CaptureError(reason(errors, status, by));
    } finally {
        clearTimeout(timer);
        signal?.removeEventListener("abort", kill);
    }
    try {
        return JSON.parse(output);
    } catch {
        return output;
    }
}

// Starts a recording. `onEvent` is called with every lifecycle event.
export function record(directory, options = [], { signal, onEvent = () => {}, ...rest } = {}) {
    const args = ["record", "-o", directory, "--stdout-json", "--duration", "86400", ...options];
    const { child, ended } = start(args, rest);
    const events = [];
    let result;
    let nowRecording;
    const recording = new Promise((resolve) => (nowRecording = resolve));
    const stop = () => child.kill("SIGTERM");
    if (signal?.aborted)
        stop();
    signal?.addEventListener("abort", stop);

    const lines = createInterface({ input: child.stdout, crlfDelay: Infinity });
    lines.on("line", (line) => {
        if (line === "GLIMTO_RECORDING_STATUS=recording")
            nowRecording();
        if (!line.startsWith("{"))
            return;
        const document = JSON.parse(line);
        if (document.type === "recording_lifecycle") {
            events.push(document);
            onEvent(document);
        } else if (document.manifestPath !== undefined)
            result = document;
    });
    const read = new Promise((resolve) => lines.on("close", resolve));

    const finished = (async () => {
        const [{ status, signal: by, errors }] = await Promise.all([ended, read]);
        signal?.removeEventListener("abort", stop);
        if (status !== 0) {
            const failed = events.filter((event) => event.kind.endsWith("_failed")).at(-1);
            throw new CaptureError(reason(errors, status, by), failed?.error?.code);
        }
        return result;
    })();
    const started = Promise.race([recording, finished.then(() => {
        throw new CaptureError("glimto-capture ended before it recorded");
    })]);
    // Who awaits only one of the two is not punished for the other.
    started.catch(() => {});
    finished.catch(() => {});
    return { started, finished, stop, events, pid: child.pid };
}
