#!/usr/bin/env python3
"""Writes NewsService.ini (code page 950, CRLF) from its UTF-8 source NewsService.ini.utf8."""
from pathlib import Path

here = Path(__file__).resolve().parent
text = (here / "NewsService.ini.utf8").read_text(encoding="utf-8")
lines = text.splitlines()
(here / "NewsService.ini").write_bytes(("\r\n".join(lines) + "\r\n").encode("cp950"))
