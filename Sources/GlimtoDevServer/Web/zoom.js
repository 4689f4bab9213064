// The zooms of a recording, as `glimto-take render --zoom auto` moves its camera.

const fastest = 1.5; // screens a second
const shortestMovement = 0.7; // seconds
const steepestEase = 1.875; // greatest slope of eased()
const longestMovementShare = 0.96; // of a zoom, at both ends together
const shortestWholeView = 1; // seconds between two zooms; shorter pauses do not show the whole picture

// The part of the picture that is seen, within the picture.
export const wholePicture = Object.freeze({ left: 0, top: 0, size: 1 });

function eased(share) {
    return share * share * share * (share * (share * 6 - 15) + 10);
}

function clamp(value, least, most) {
    return Math.min(Math.max(value, least), most);
}

function viewOf(zoom) {
    const size = 1 / Math.max(zoom.scale, 1);
    return { left: clamp(zoom.x - size / 2, 0, 1 - size), top: clamp(zoom.y - size / 2, 0, 1 - size), size };
}

// How long a movement takes: no corner of the picture moves faster over the screen than the eye follows.
function movementSeconds(a, b) {
    const across = (from, to) => Math.max(Math.abs(from - to), Math.abs(from + a.size - to - b.size));
    const screens = Math.hypot(across(a.left, b.left), across(a.top, b.top)) / Math.min(a.size, b.size);
    return Math.max(shortestMovement, screens * steepestEase / fastest);
}

export class CameraPath {
    // `zooms` in order, without overlaps: {from, to (seconds), x, y (the middle, from 0 to 1), scale}.
    constructor(zooms) {
        this.movements = [];
        let view = wholePicture;
        let leaveAt = 0; // seconds
        zooms.forEach((zoom, at) => {
            const pauseBefore = at > 0 ? zoom.from - zooms[at - 1].to : Infinity;
            const pauseAfter = at + 1 < zooms.length ? zooms[at + 1].from - zoom.to : Infinity;
            const [comesFromZoom, goesToZoom] = [pauseBefore < shortestWholeView, pauseAfter < shortestWholeView];
            const before = comesFromZoom ? view : wholePicture;
            view = viewOf(zoom);
            // Between two zooms half of the movement belongs to each, but for the pause between them.
            const within = (from, to, pause) => Math.max(0, (movementSeconds(from, to) - pause) / 2);
            const arriving = comesFromZoom ? within(before, view, pauseBefore) : movementSeconds(wholePicture, view);
            const leaving = goesToZoom ? within(view, viewOf(zooms[at + 1]), pauseAfter) : movementSeconds(view, wholePicture);
            const time = (zoom.to - zoom.from) * longestMovementShare;
            const share = time / Math.max(time, arriving + leaving);
            this.add(comesFromZoom ? leaveAt : zoom.from, zoom.from + arriving * share, before, view);
            leaveAt = zoom.to - leaving * share;
            if (!goesToZoom) this.add(leaveAt, zoom.to, view, wholePicture);
        });
    }

    add(from, to, first, last) {
        this.movements.push({ from, to, first, last });
    }

    at(seconds) {
        const movement = this.movements.findLast(({ from }) => from <= seconds);
        if (!movement) return wholePicture;
        if (seconds >= movement.to) return movement.last;
        const share = eased((seconds - movement.from) / (movement.to - movement.from));
        const between = (name) => movement.first[name] + (movement.last[name] - movement.first[name]) * share;
        return { left: between("left"), top: between("top"), size: between("size") };
    }
}

// Shows a view of a video whose picture lies in `box` of its element. Where the browser can, its controls stay
// where they are.
export function showView(video, view, box) {
    if (CSS.supports("object-view-box", "inset(0)")) {
        const sides = [view.top, 1 - view.left - view.size, 1 - view.top - view.size, view.left];
        video.style.objectViewBox = view.size < 1 ? `inset(${sides.map((side) => `${side * 100}%`).join(" ")})` : "";
        return;
    }
    const scale = 1 / view.size;
    const shift = (start, length, from) => start - scale * (start + from * length);
    video.style.transformOrigin = "0 0";
    video.style.transform = view.size < 1
        ? `matrix(${scale},0,0,${scale},${shift(box.left, box.width, view.left)},${shift(box.top, box.height, view.top)})`
        : "";
}
