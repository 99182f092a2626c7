"""Described machines: reading their folders, building them from loop devices, running commands inside them."""
