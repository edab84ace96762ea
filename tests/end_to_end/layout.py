# SPDX-License-Identifier: GPL-3.0-or-later
"""Where a user finds the things in Vistrel's window. Positions are counted from the top left corner
of the side panel."""

SIDEBAR_WIDTH = 290
SIDEBAR_COLOR = (24, 24, 37)
WINDOW_COLOR = (30, 30, 46)


def controls(download=True):
    """The middle of every control; `download`: the download button is shown, as it is while the
    network's file is missing."""
    places = {"batch": (198, 24), "help": (265, 24)}
    y = 63
    places["model name"] = (109, y + 12)
    places["select model"] = (244, y + 14)
    y += 33
    if download:
        places["download"] = (145, y + 14)
        y += 33
    y += 10 + 21 + 21
    places["select file"] = (145, y + 14)
    y += 33 + 19
    places["provider"] = (145, y + 12)
    y += 33
    places["generate"] = (145, y + 17)
    y += 39
    places["status"] = (145, y + 21)
    y += 57 + 21
    places["sharp"] = (30, y + 11)
    places["general"] = (170, y + 11)
    y += 28 + 19
    places["stereo mode"] = (145, y + 12)
    y += 35 + 19
    places["focus"] = (145, y + 11)
    y += 27 + 19
    places["depth"] = (145, y + 11)
    y += 31
    places["swap"] = (76, y + 14)
    places["reset"] = (213, y + 14)
    places["save image"] = (145, y + 48)
    return places
