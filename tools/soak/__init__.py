"""Searches again and again, to see that nothing is lost or left behind by it."""
