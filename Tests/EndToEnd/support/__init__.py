"""What the end-to-end tests share: servers, windows, runs of the program, decoded pictures."""
