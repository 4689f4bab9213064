"""The tables of recordings, made of the figures that benchmark_record.py keeps."""

COST_HEAD = """| content | glimto-capture | ffmpeg | ratio | goal | kbit/s | X server, ratio | peak memory, MB |
|---|---|---|---|---|---|---|---|"""
PICTURE_HEAD = """| content | SSIM, ours : peer | worst picture | PSNR, dB | worst picture | edges, dB | chroma, dB | lost | longest gap |
|---|---|---|---|---|---|---|---|---|"""
VMAF_HEAD = """ VMAF | worst picture |
---|---|"""
NO_VMAF = "VMAF was not measured: there was no `vmaf` tool."
LARGE_HEAD = """| content | glimto-capture | of the same at 1080p | goal |
|---|---|---|---|"""


def with_spread(entry):
    return f"{entry['cpu']:.2f} ± {entry['cpuSpread'] / 2:.1f}"


def quotient(one, other):
    return f"{one / other:.2f}" if other > 0 else "-"


def both(pair, key, digits, factor=1.0):
    return " : ".join(f"{pair[recorder][key] * factor:.{digits}f}" for recorder in ("ours", "peer"))


def known(pair, key):
    return both(pair, key, 1) if all(key in pair[recorder] for recorder in ("ours", "peer")) else ""


def goal_text(goal):
    return f"{goal:.2f}" if goal else ""


def cost_row(pair):
    ours, peer = pair["ours"], pair["peer"]
    return (f"| {pair['title']} | {with_spread(ours)} | {with_spread(peer)} | {ours['cpu'] / peer['cpu']:.3f} "
            f"| {goal_text(pair['goal'])} | {both(pair, 'bitsPerSecond', 0, 1e-3)} | {quotient(ours['server'], peer['server'])} "
            f"| {both(pair, 'peakMegabytes', 0)} |")


def picture_row(pair):
    lost = " : ".join(f"{pair[recorder]['lost']} of {pair[recorder]['pictures']}" for recorder in ("ours", "peer"))
    return (f"| {pair['title']} | {both(pair, 'ssim', 4)} | {both(pair, 'worstSSIM', 3)} | {both(pair, 'psnr', 1)} "
            f"| {both(pair, 'worstPSNR', 1)} | {known(pair, 'edgePSNR')} | {known(pair, 'chromaPSNR')} | {lost} "
            f"| {both(pair, 'longestGap', 0)} |")


def vmaf_cells(pair):
    """What a row of pictures ends with when some were judged by VMAF."""
    if "vmaf" not in pair["ours"]:
        return " | |"
    return f" {both(pair, 'vmaf', 1)} | {both(pair, 'worstVMAF', 1)} |"


def large_row(pair, small):
    return (f"| {pair['title']} | {with_spread(pair['ours'])} | {pair['ours']['cpu'] / small['ours']['cpu']:.2f} "
            f"| {pair['ofSmallGoal']:.1f} |")


def beside(head, more):
    return "\n".join(one + other for one, other in zip(head.splitlines(), more.splitlines()))


def table(head, rows):
    """Empty without rows."""
    return "\n".join([head, *rows]) if rows else ""


def cost_table(figures):
    return table(COST_HEAD, [cost_row(pair) for pair in figures.values() if not pair.get("again")])


def picture_table(figures):
    pairs = [pair for pair in figures.values() if "ssim" in pair["ours"]]
    if not pairs:
        return ""
    if not any("vmaf" in pair["ours"] for pair in pairs):
        return table(PICTURE_HEAD, map(picture_row, pairs)) + "\n\n" + NO_VMAF
    return table(beside(PICTURE_HEAD, VMAF_HEAD), [picture_row(pair) + vmaf_cells(pair) for pair in pairs])


def large_table(figures):
    return table(LARGE_HEAD, [large_row(pair, figures[pair["small"]]) for pair in figures.values() if pair["small"] in figures])
