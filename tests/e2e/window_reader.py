"""Reads an application's windows as assistive technology does (AT-SPI), as the user of the machine.

usage: window_reader.py [NAME]    writes a JSON list of its windows, each {"role", "name",
                                  "description", "states", "children"}; an empty list without it
"""
import json
import sys

import pyatspi

STATES = {pyatspi.STATE_FOCUSED: "focused", pyatspi.STATE_FOCUSABLE: "focusable",
          pyatspi.STATE_ACTIVE: "active", pyatspi.STATE_MODAL: "modal",
          pyatspi.STATE_IS_DEFAULT: "default", pyatspi.STATE_ENABLED: "enabled",
          pyatspi.STATE_CHECKED: "checked"}


def described(node):
    states = node.getState()
    return {"role": node.getRoleName(), "name": node.name, "description": node.description,
            "states": sorted(word for state, word in STATES.items() if states.contains(state)),
            "children": [described(child) for child in node
                         if child is not None and child.getState().contains(pyatspi.STATE_SHOWING)]}


def windows(name):
    for application in pyatspi.Registry.getDesktop(0):
        if application is not None and application.name == name:
            return [described(window) for window in application
                    if window is not None and window.getState().contains(pyatspi.STATE_SHOWING)]
    return []


if __name__ == "__main__":
    try:
        print(json.dumps(windows(sys.argv[1] if len(sys.argv) > 1 else "Quillmore")))
    except Exception as gone:  # it changed or ended while it was read
        sys.exit(f"window_reader: {gone}")
