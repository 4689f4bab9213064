"""The tables of scenes that begin, made of the figures that benchmark_new_scenes.py keeps.

What is said of readable and sharp is argued in Benchmarks/README.md.
"""
import collections
import statistics

READABLE = 0.95  # SSIM of what has sharp edges
SHARP_ENOUGH = 38.0  # dB beside edges; a better picture looks the same
NEARLY = 3.0  # dB below the better recorder's picture later on
LOOKS_A_SECOND = 30
LATER = 1.0  # seconds; what is looked at after them is the picture that stays
SHOWN = (1, 2, 3, 5, 8, 16)  # pictures after the change, in the course table
RECORDERS = ("ours", "peer")
HEAD = """| scene | times | readable from picture, ours : peer | sharp after seconds, ours : peer | within the goal, ours |
|---|---|---|---|---|"""
COURSE_HEAD = ("| scene | " + " | ".join([*map(str, SHOWN), "2 s later"]) + " |\n|" + "---|" * (len(SHOWN) + 2))
COURSES = (("ssim", "SSIM of the whole picture", 3), ("edgeSSIM", "SSIM of what has sharp edges", 3),
           ("edgePSNR", "PSNR beside sharp edges, dB", 1))
READABLE_GOAL, SHARP_GOAL = 2, 0.5


def begun(looks, scene):
    """The looks at each time that a scene began, those of a scene which the take's end cut off left out."""
    times = collections.defaultdict(list)
    for look in looks:
        if look["scene"] == scene:
            times[look["begun"]].append(look)
    longest = max(map(len, times.values()), default=0)
    return [found for found in times.values() if len(found) == longest]


def early(time):
    return [look for look in time if look["since"] < LATER]


def later(time, key):
    return statistics.mean(look[key] for look in time if look["since"] >= LATER)


def first_readable(times):
    """The picture after the change from which text can be read, the slowest time counting; None if it never can."""
    pictures = [next((at for at, look in enumerate(early(time), 1) if look["edgeSSIM"] >= READABLE), None) for time in times]
    return None if None in pictures else max(pictures)


def first_sharp(times, key, wanted):
    seconds = [next((look["since"] for look in early(time) if look[key] >= wanted), None) for time in times]
    return None if None in seconds else max(seconds)


def in_words(value, late, digits=0):
    return late if value is None else f"{value:.{digits}f}"


def scenes_of(pair):
    """Each scene that both have seen begin: its title, and its looks by recorder."""
    for scene, title in enumerate(pair["scenes"]):
        times = {recorder: begun(pair[recorder]["looks"], scene) for recorder in RECORDERS}
        if all(found and found[0][-1]["since"] >= LATER for found in times.values()):
            yield title, times


def summary_row(title, times):
    has_edges = all("edgeSSIM" in look for found in times.values() for time in found for look in time)
    key = "edgePSNR" if has_edges else "psnr"
    best = max(statistics.mean(later(time, key) for time in found) for found in times.values())
    wanted = min(best - NEARLY, SHARP_ENOUGH)
    readable = {recorder: first_readable(found) if has_edges else 1 for recorder, found in times.items()}
    sharp = {recorder: first_sharp(found, key, wanted) for recorder, found in times.items()}
    meets = (readable["ours"] or READABLE_GOAL + 1) <= READABLE_GOAL and sharp["ours"] is not None
    read_text = " : ".join(in_words(readable[recorder], "later than 16") for recorder in RECORDERS) if has_edges else ""
    return (f"| {title} | {' : '.join(str(len(times[recorder])) for recorder in RECORDERS)} | {read_text} "
            f"| {' : '.join(in_words(sharp[recorder], f'later than {SHARP_GOAL}', 2) for recorder in RECORDERS)} "
            f"| {'yes' if meets else 'no'} |")


def course_row(title, times, key, digits):
    cells = []
    for at in SHOWN:
        values = [statistics.mean(time[at - 1][key] for time in times[recorder]) for recorder in RECORDERS]
        cells.append(" : ".join(f"{value:.{digits}f}" for value in values))
    values = [statistics.mean(later(time, key) for time in times[recorder]) for recorder in RECORDERS]
    return f"| {title} | " + " | ".join([*cells, " : ".join(f"{value:.{digits}f}" for value in values)]) + " |"


def summary_table(figures):
    rows = [summary_row(*scene) for pair in figures.values() for scene in scenes_of(pair)]
    return "\n".join([HEAD, *rows]) if rows else ""


def course_tables(figures):
    """The likeness of the pictures after the change, ours : peer."""
    tables = []
    for key, words, digits in COURSES:
        rows = [course_row(title, times, key, digits) for pair in figures.values() for title, times in scenes_of(pair)
                if all(key in look for found in times.values() for time in found for look in time)]
        if rows:
            tables.append("\n".join([f"{words}, ours : peer:\n", COURSE_HEAD, *rows]))
    return "\n\n".join(tables)
