"""What the end-to-end tests share: servers, windows, runs of the program, decoded pictures."""

from support import own_environment

own_environment.enter()
