"""The shape of a take's events.json: where the pointer was and what it did."""

from take_files import Problem, shown
from take_manifest import above_zero, exactly, is_integer, is_number, wrong_keys

EVENTS = "events.json"
LARGEST_EVENTS = 256 * 1024 * 1024  # bytes; more than an hour of unbroken motion at 1000 events a second


def is_share(value):
    return is_number(value) and value <= 1


def is_delta(value):
    return isinstance(value, (int, float)) and not isinstance(value, bool) and abs(value) < 1e9


def is_flag(value):
    return isinstance(value, bool)


def is_list(value):
    return isinstance(value, list)


def is_object(value):
    return isinstance(value, dict)


DOCUMENT = {"version": exactly(1), "clock": is_object, "display": is_object, "cursorHidden": is_flag,
            "events": is_list}
CLOCK = {"firstVideoSamplePtsValue": is_integer, "firstVideoSamplePtsTimescale": above_zero(is_integer),
         "firstVideoSampleHostTimeNs": is_integer}
DISPLAY = {"capturePixelWidth": above_zero(is_integer), "capturePixelHeight": above_zero(is_integer),
           "pointScale": above_zero(is_number)}
EVENT = {"t": is_number, "k": lambda value: value in ("down", "up", "move", "scroll"), "x": is_share, "y": is_share}
BUTTON = {"button": lambda value: is_integer(value) and value <= 1}
DELTAS = {"dx": is_delta, "dy": is_delta}
OF_KIND = {"down": BUTTON, "up": BUTTON, "move": {}, "scroll": DELTAS}


def load_events(take):
    """The document, or a Problem when its keys or their values are wrong."""
    document = take.json(EVENTS, LARGEST_EVENTS)
    wrong = wrong_keys(document, DOCUMENT, "")
    if not wrong:
        wrong = wrong_keys(document["clock"], CLOCK, "clock.") + wrong_keys(document["display"], DISPLAY, "display.")
    if wrong:
        raise Problem("; ".join(wrong[:5]))
    return document


def require_clock(clock):
    """The first frame's time and its host time are the same moment, as exactly as the timescale tells it."""
    timescale = clock["firstVideoSamplePtsTimescale"]
    apart = clock["firstVideoSamplePtsValue"] * 10**9 - clock["firstVideoSampleHostTimeNs"] * timescale
    if 2 * abs(apart) > max(10**9, timescale):
        raise Problem(f"{abs(apart) // timescale} ns apart")
    return "one moment"


def wrong_event(event, where):
    wrong = wrong_keys(event, EVENT, where)
    if wrong:
        return wrong
    allowed = OF_KIND[event["k"]]
    wrong = wrong_keys(event, allowed, where)
    strange = [key for key in (*BUTTON, *DELTAS) if key in event and key not in allowed]
    return wrong + [f"{where}{key}: not of a {event['k']}" for key in strange]


def require_events(events):
    last = 0
    for at, event in enumerate(events):
        wrong = wrong_event(event, f"events[{at}].")
        if not wrong and event["t"] < last:
            wrong = [f"events[{at}].t: {shown(event['t'])} after {shown(last)}"]
        if wrong:
            raise Problem("; ".join(wrong[:5]))
        last = event["t"]
    return f"{len(events)} events"
