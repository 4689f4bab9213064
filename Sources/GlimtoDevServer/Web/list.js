import { bytes, duration, moment, recordingPath, stateText } from "/web/format.js";

const list = document.getElementById("recordings");
const note = document.getElementById("note");
const refreshMilliseconds = 2000;

function element(name, text) {
    const made = document.createElement(name);
    if (text !== undefined) made.textContent = text;
    return made;
}

function picture(recording) {
    if (!recording.hasThumbnail) {
        const blank = element("div");
        blank.className = "blank";
        return blank;
    }
    const image = element("img");
    image.src = `${recordingPath(recording.recordingId)}/files/thumbnail.jpg`;
    image.alt = "";
    image.loading = "lazy";
    return image;
}

function card(recording) {
    const link = element("a");
    link.href = recordingPath(recording.recordingId);
    const facts = [duration(recording.totalDuration), bytes(recording.bytes)].filter(Boolean);
    link.append(picture(recording), element("strong", recording.recordingId),
        element("span", moment(recording.createdAt)),
        element("span", `${stateText(recording)} · ${facts.join(" · ")}`));
    const item = element("li");
    item.append(link);
    return item;
}

let shown = "";

async function refresh() {
    try {
        const answer = await fetch("/recordings.json");
        if (!answer.ok) throw new Error(`HTTP ${answer.status}`);
        const text = await answer.text();
        if (text !== shown) {
            shown = text;
            const { recordings } = JSON.parse(text);
            list.replaceChildren(...recordings.map(card));
            note.textContent = recordings.length ? "" : "No recording yet. Make one with `glimto-capture record --upload`.";
        }
    } catch (error) {
        note.textContent = `The server does not answer (${error.message}).`;
    }
    setTimeout(refresh, refreshMilliseconds);
}

refresh();
