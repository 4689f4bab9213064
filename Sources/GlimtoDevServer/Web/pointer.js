// The pointer of a recording, drawn over its picture, and the view that its zooms show.

import { CameraPath, showView, wholePicture } from "/web/zoom.js";

const clickMilliseconds = 450;
const scrollMilliseconds = 350;

// Where the picture lies within the video element, which keeps its shape.
function pictureBox(video, width, height) {
    const shape = (video.videoWidth || 16) / (video.videoHeight || 9);
    const boxWidth = Math.min(width, height * shape);
    const boxHeight = boxWidth / shape;
    return { left: (width - boxWidth) / 2, top: (height - boxHeight) / 2, width: boxWidth, height: boxHeight };
}

export class PointerTrack {
    // `track` is the document of a recording's events: times in milliseconds since the first frame, places
    // from 0 to 1 of the picture.
    constructor(track, video, canvas) {
        this.events = (Array.isArray(track?.events) ? track.events : [])
            .filter((event) => [event?.t, event?.x, event?.y].every(Number.isFinite))
            .sort((left, right) => left.t - right.t);
        this.video = video;
        this.canvas = canvas;
        this.isShown = true;
        this.camera = new CameraPath([]);
        this.isZoomed = false;
        this.drawn = "";
        const draw = () => {
            this.draw();
            requestAnimationFrame(draw);
        };
        draw();
    }

    get count() {
        return this.events.length;
    }

    // The index of the last event not later than `time`, -1 when there is none.
    lastIndexAt(time) {
        let low = 0;
        let high = this.events.length;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (this.events[middle].t <= time) low = middle + 1;
            else high = middle;
        }
        return low - 1;
    }

    draw() {
        const { canvas, video } = this;
        const scale = window.devicePixelRatio || 1;
        const width = Math.round(canvas.clientWidth * scale);
        const height = Math.round(canvas.clientHeight * scale);
        const time = video.currentTime * 1000;
        const state = [time, width, height, this.isShown, this.isZoomed, video.videoWidth].join();
        if (state === this.drawn) return;
        this.drawn = state;
        const view = this.isZoomed ? this.camera.at(video.currentTime) : wholePicture;
        showView(video, view, pictureBox(video, canvas.clientWidth, canvas.clientHeight));
        canvas.width = width;
        canvas.height = height;
        const last = this.lastIndexAt(time);
        if (!this.isShown || last < 0) return;
        const context = canvas.getContext("2d");
        const box = pictureBox(video, width, height);
        const place = (event) => [box.left + (event.x - view.left) / view.size * box.width,
            box.top + (event.y - view.top) / view.size * box.height];
        const size = scale / view.size;
        for (let index = last; index >= 0 && time - this.events[index].t < clickMilliseconds; index -= 1) {
            const event = this.events[index];
            if (event.k === "down") drawRing(context, place(event), (time - event.t) / clickMilliseconds, event.button, size);
            if (event.k === "scroll" && time - event.t < scrollMilliseconds) drawScroll(context, place(event), event, size);
        }
        drawArrow(context, place(this.events[last]), size);
    }
}

function drawRing(context, [x, y], age, button, scale) {
    context.beginPath();
    context.arc(x, y, (8 + 22 * age) * scale, 0, 2 * Math.PI);
    context.lineWidth = 3 * scale;
    context.strokeStyle = button === 1 ? `rgba(255,120,40,${1 - age})` : `rgba(30,140,255,${1 - age})`;
    context.stroke();
}

function drawScroll(context, [x, y], event, scale) {
    const direction = Math.sign(event.dy || 0) || 1;
    context.beginPath();
    context.moveTo(x + 22 * scale, y - 7 * direction * scale);
    context.lineTo(x + 28 * scale, y + 7 * direction * scale);
    context.lineTo(x + 16 * scale, y + 7 * direction * scale);
    context.fillStyle = "rgba(30,140,255,.8)";
    context.fill();
}

function drawArrow(context, [x, y], scale) {
    const corners = [[0, 0], [0, 17], [4, 13], [7, 19], [9.5, 18], [6.7, 12], [12, 12]];
    context.beginPath();
    corners.forEach(([right, down], index) => context[index ? "lineTo" : "moveTo"](x + right * scale, y + down * scale));
    context.closePath();
    context.fillStyle = "#fff";
    context.strokeStyle = "#000";
    context.lineWidth = 1.5 * scale;
    context.stroke();
    context.fill();
}
