"""How well a recording of numbered pictures shows what has sharp edges, as text has them."""
import json
import statistics
import subprocess

EVERY = 4  # pictures of a recording


def edges(playlist, pictures, build):
    """SSIM and PSNR of luma, for raw pictures in a file."""
    command = [build / "glimto-picture-likeness", playlist, pictures.file, f"{pictures.width}x{pictures.height}", f"every:{EVERY}"]
    lines = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()
    looks = [look for look in map(json.loads, lines) if "edgePSNR" in look]
    if not looks:
        return {}
    return {f"edge{name}": statistics.mean(look[f"edge{name}"] for look in looks) for name in ("SSIM", "PSNR")}
