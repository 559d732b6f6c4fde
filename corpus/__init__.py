"""Builds parallel text and word lists from Debian packages. See README.md beside this file."""
