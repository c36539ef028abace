"""Drives the real program in the lab: its window, its network peers, its files."""
