import { bytes, duration, moment, recordingPath, stateText } from "/web/format.js";
import { controlByKeys } from "/web/keys.js";
import { PointerTrack } from "/web/pointer.js";
import { CameraPath } from "/web/zoom.js";

const id = document.body.dataset.recording;
const path = recordingPath(id);
const find = (name) => document.getElementById(name);
const video = find("video");
const refreshMilliseconds = 1000;

function warn(text) {
    find("warning").textContent = text;
    find("warning").hidden = false;
}

function showFacts(details) {
    const facts = [
        ["State", stateText(details)],
        ["Made", moment(details.createdAt)],
        ["Length", duration(details.totalDuration)],
        ["Picture", details.width ? `${details.width} × ${details.height}, ${details.framesPerSecond} frames a second` : ""],
        ["Sound", details.hasAudio === undefined ? "" : details.hasAudio ? "yes" : "no"],
        ["Size", `${bytes(details.bytes)} in ${details.objectCount} files, ${details.segmentCount} of them segments`],
    ];
    const entries = facts.filter(([, text]) => text).flatMap(([name, text]) => {
        const term = document.createElement("dt");
        const value = document.createElement("dd");
        term.textContent = name;
        value.textContent = text;
        return [term, value];
    });
    find("facts").replaceChildren(...entries);
}

function showProgress(details) {
    find("progress").hidden = false;
    find("progresstext").textContent = details.state === "created"
        ? "Nothing has been uploaded yet."
        : `Uploading: ${details.objectCount} files, ${bytes(details.bytes)}. It can be played once the upload is complete.`;
    if (details.hasThumbnail && find("preview").hidden) {
        find("preview").src = `${path}/files/thumbnail.jpg`;
        find("preview").hidden = false;
    }
}

// The browser's own HLS where it has one, else hls.js where the server has it; "?player=hls.js" asks for
// that anyway.
async function attachSource() {
    const source = `${path}/files/segments/playlist.m3u8`;
    const wantsScript = new URLSearchParams(location.search).get("player") === "hls.js";
    if (!wantsScript && video.canPlayType("application/vnd.apple.mpegurl")) {
        video.src = source;
        return;
    }
    try {
        await loadScript("/web/hls.min.js");
    } catch {
        warn("This browser does not play HLS by itself, and this server has no hls.js. The README says how to add it.");
        return;
    }
    const player = new window.Hls();
    player.on(window.Hls.Events.ERROR, (_, data) => {
        if (data.fatal) warn(`The recording cannot be played: ${data.details}.`);
    });
    player.loadSource(source);
    player.attachMedia(video);
}

function loadScript(address) {
    return new Promise((resolve, reject) => {
        const script = document.createElement("script");
        script.src = address;
        script.onload = resolve;
        script.onerror = reject;
        document.head.append(script);
    });
}

async function showPointer() {
    const answer = await fetch(`${path}/files/events.json`);
    if (!answer.ok) return;
    const track = new PointerTrack(await answer.json(), video, find("pointer"));
    const button = find("togglepointer");
    const toggle = () => {
        track.isShown = !track.isShown;
        button.setAttribute("aria-pressed", String(track.isShown));
    };
    button.addEventListener("click", toggle);
    find("pointernote").textContent = `${track.count} events`;
    find("pointerswitch").hidden = false;
    return { track, toggle };
}

async function offerZooms(track) {
    const answer = await fetch(`${path}/zooms.json`);
    if (!answer.ok) return undefined;
    track.camera = new CameraPath((await answer.json()).zooms);
    const button = find("togglezoom");
    const toggle = () => {
        track.isZoomed = !track.isZoomed;
        button.setAttribute("aria-pressed", String(track.isZoomed));
    };
    button.addEventListener("click", toggle);
    button.hidden = false;
    return toggle;
}

function offerDownload() {
    find("download").href = `${path}/take.mp4`;
    find("downloads").hidden = false;
}

async function play(details) {
    find("progress").hidden = true;
    find("stage").hidden = false;
    if (details.hasThumbnail) video.poster = `${path}/files/thumbnail.jpg`;
    video.addEventListener("error", () => warn(`The recording cannot be played: ${video.error?.message || "unknown error"}.`));
    await attachSource();
    if (details.canExport) offerDownload();
    const more = {};
    controlByKeys(video, find("stage"), details.framesPerSecond || 30, more);
    video.focus();
    if (!details.hasEvents) return;
    try {
        const pointer = await showPointer();
        more.p = pointer?.toggle;
        if (pointer && details.canExport) more.z = await offerZooms(pointer.track);
    } catch (error) {
        warn(`The pointer track cannot be shown: ${error.message}.`);
    }
}

async function refresh() {
    try {
        const answer = await fetch(`${path}/details.json`);
        if (!answer.ok) throw new Error(`HTTP ${answer.status}`);
        const details = await answer.json();
        find("warning").hidden = true;
        showFacts(details);
        if (details.isPlayable) {
            await play(details);
            return;
        }
        showProgress(details);
    } catch (error) {
        warn(`The server does not answer (${error.message}).`);
    }
    setTimeout(refresh, refreshMilliseconds);
}

refresh();
