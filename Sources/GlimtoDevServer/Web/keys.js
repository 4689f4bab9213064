// Keyboard control of a video, wherever on the page the focus is.

const speeds = [0.25, 0.5, 0.75, 1, 1.25, 1.5, 2, 3];

function changeSpeed(video, steps) {
    const nearest = speeds.findIndex((speed) => speed >= video.playbackRate);
    video.playbackRate = speeds[Math.min(Math.max((nearest < 0 ? 3 : nearest) + steps, 0), speeds.length - 1)];
}

function seek(video, time) {
    const end = Number.isFinite(video.duration) ? video.duration : time;
    video.currentTime = Math.min(Math.max(time, 0), end);
}

// `more` has the actions of further keys, also those that come later.
export function controlByKeys(video, stage, framesPerSecond, more) {
    const step = (frames) => {
        video.pause();
        seek(video, video.currentTime + frames / framesPerSecond);
    };
    const actions = {
        " ": () => (video.paused ? video.play() : video.pause()),
        ArrowLeft: () => seek(video, video.currentTime - 5),
        ArrowRight: () => seek(video, video.currentTime + 5),
        ArrowUp: () => { video.volume = Math.min(1, video.volume + 0.1); },
        ArrowDown: () => { video.volume = Math.max(0, video.volume - 0.1); },
        Home: () => seek(video, 0),
        End: () => seek(video, video.duration),
        j: () => seek(video, video.currentTime - 10),
        l: () => seek(video, video.currentTime + 10),
        ",": () => step(-1),
        ".": () => step(1),
        "<": () => changeSpeed(video, -1),
        ">": () => changeSpeed(video, 1),
        m: () => { video.muted = !video.muted; },
        f: () => (document.fullscreenElement ? document.exitFullscreen() : stage.requestFullscreen()),
    };
    actions.k = actions[" "];
    document.addEventListener("keydown", (event) => {
        if (event.ctrlKey || event.altKey || event.metaKey) return;
        if (event.target instanceof HTMLButtonElement || event.target instanceof HTMLAnchorElement) {
            if (event.key === " " || event.key === "Enter") return;
        }
        const digit = /^[0-9]$/.test(event.key);
        const action = digit ? () => seek(video, (video.duration || 0) * Number(event.key) / 10) : actions[event.key] ?? more[event.key];
        if (!action) return;
        event.preventDefault();
        event.stopPropagation();
        action();
    }, true);
}
