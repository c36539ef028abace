// Text entries, spin buttons, ranges and progress bars.
