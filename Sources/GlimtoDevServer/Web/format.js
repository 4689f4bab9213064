// Figures as people read them. All texts go into pages as text, never as markup.

export function duration(seconds) {
    if (!Number.isFinite(seconds)) return "";
    const whole = Math.round(seconds);
    const two = (number) => String(number).padStart(2, "0");
    const hours = Math.floor(whole / 3600);
    const minutes = Math.floor(whole / 60) % 60;
    return hours ? `${hours}:${two(minutes)}:${two(whole % 60)}` : `${minutes}:${two(whole % 60)}`;
}

export function bytes(count) {
    const units = ["bytes", "kB", "MB", "GB", "TB"];
    let unit = 0;
    while (count >= 1000 && unit + 1 < units.length) {
        count /= 1000;
        unit += 1;
    }
    return `${unit && count < 100 ? count.toFixed(1) : Math.round(count)} ${units[unit]}`;
}

export function moment(text) {
    const time = new Date(text);
    return Number.isNaN(time.getTime()) ? text : time.toLocaleString();
}

export function recordingPath(id) {
    return `/recordings/${encodeURIComponent(id)}`;
}

export function stateText(recording) {
    if (recording.state === "uploaded") return "complete";
    if (recording.state === "created") return "nothing uploaded yet";
    return `uploading, ${recording.objectCount} files so far`;
}
