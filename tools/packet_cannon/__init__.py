"""Scanners that do everything wrong: they answer with any bytes, from any address, at any time."""
