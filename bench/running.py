"""What both benches need to run programs."""

import subprocess


class Failed(Exception):
    pass


def run(command, **options):
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
    if done.returncode != 0:
        raise Failed(f"{command}: status {done.returncode}\n{done.stdout.decode(errors='replace')[-2000:]}")
    return done.stdout.decode()


def program_form(path):
    """A native path as Zelkor writes it, on drive z."""
    return "z:" + str(path).replace("/", "\\")
