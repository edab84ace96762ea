# SPDX-License-Identifier: GPL-3.0-or-later
"""What a screen reader is told: the controls of a program, and where the keyboard focus is."""

import os

import gi
gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

from display import wait_for
from session_bus import SessionBus


class Bus:
    """A session's message bus with the registry of a desktop's screen readers behind it. One per
    process: the library that asks it looks for it once."""

    def __init__(self, display, folder):
        folder.mkdir(mode=0o700)
        environment = display.environment | {
            "HOME": str(folder), "XDG_RUNTIME_DIR": str(folder), "XDG_DATA_HOME": str(folder),
            "GSETTINGS_BACKEND": "memory"}
        self.bus = SessionBus(environment, display.log)
        # The registry ends with its bus.
        self.close = self.bus.close
        # For the program. On a desktop its toolkit would ask whether there is a screen reader.
        self.environment = {"DBUS_SESSION_BUS_ADDRESS": self.bus.address,
                            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
        os.environ |= {"DBUS_SESSION_BUS_ADDRESS": self.bus.address,
                       "DISPLAY": display.environment["DISPLAY"]}
        Atspi.init()


class Control:
    """One control and those in it, as they were when they were asked."""

    def __init__(self, accessible):
        self.role = _role(accessible)
        self.name = accessible.get_name()
        self.description = accessible.get_description()
        self.states = {state.value_nick for state in accessible.get_state_set().get_states()}
        self.label = _label(accessible)
        self.value = _value(accessible)
        inside = (accessible.get_child_at_index(i) for i in range(accessible.get_child_count()))
        self.children = [Control(child) for child in inside if child]

    def __repr__(self):
        return f"{self.role} '{self.spoken}'"

    @property
    def spoken(self):
        """What tells a user which control it is. A combo box has its value for a name."""
        return self.label or self.name

    def walk(self):
        yield self
        for child in self.children:
            yield from child.walk()

    def shown(self, *roles):
        """What is to be seen of it, from top to bottom; of these roles, or all."""
        return [one for one in self.walk()
                if "showing" in one.states and (not roles or one.role in roles)]

    def find(self, role, spoken):
        found = [one for one in self.shown(role) if one.spoken == spoken]
        if len(found) != 1:
            raise AssertionError(f"{len(found)} times {role} '{spoken}' among {self.shown(role)}")
        return found[0]


def _role(accessible):
    role = accessible.get_role_name()
    return "push button" if role == "button" else role  # as newer buses call it


def _label(accessible):
    for relation in accessible.get_relation_set():
        if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY:
            return relation.get_target(0).get_name()
    return ""


def _value(accessible):
    """Least, present and greatest; nothing where there is none."""
    if "Value" not in accessible.get_interfaces():
        return None
    get = Atspi.Value
    return tuple(map(int, (get.get_minimum_value(accessible), get.get_current_value(accessible),
                           get.get_maximum_value(accessible))))


class ScreenReader:
    """Reads the controls of one process and hears what it tells of its own accord."""

    FOCUS = "object:state-changed:focused"
    NAME = "object:property-change:accessible-name"
    VALUE = "object:property-change:accessible-value"
    ITEMS = ("list item", "table cell")  # their list has the focus, to which they belong

    def __init__(self, process):
        self.process = process
        self.heard = []
        self.application = wait_for(self._find, "the program at the registry")
        self.application.set_cache_mask(Atspi.Cache.NONE)
        self.listener = Atspi.EventListener.new(self._hear)
        for event in (self.NAME, self.VALUE, self.FOCUS):
            self.listener.register(event)

    def close(self):
        for event in (self.NAME, self.VALUE, self.FOCUS):
            self.listener.deregister(event)

    def _find(self):
        desktop = Atspi.get_desktop(0)
        for i in range(desktop.get_child_count()):
            program = desktop.get_child_at_index(i)
            if program and program.get_process_id() == self.process:
                return program
        return None

    def _hear(self, event):
        try:
            if event.type != self.FOCUS or event.detail1:
                source = event.source
                if source.get_role_name() in self.ITEMS:
                    source = source.get_parent()
                if not source.get_state_set().contains(Atspi.StateType.SHOWING):
                    return  # a hidden list of files follows the one that is shown
                place = source.get_extents(Atspi.CoordType.SCREEN)
                box = (place.x, place.y, place.x + place.width, place.y + place.height)
                name = _label(source) or source.get_name()
                self.heard.append((event.type, (_role(source), name), box))
        except GLib.Error:
            pass  # it has gone meanwhile

    def window(self, title):
        """The controls of the window with this title."""
        def found():
            try:
                windows = (self.application.get_child_at_index(i)
                           for i in range(self.application.get_child_count()))
                return next((Control(one) for one in windows if one.get_name() == title), None)
            except GLib.Error:
                return None  # something in it came or went
        return wait_for(found, f"the window '{title}' to be told")

    def forget(self):
        self._listen()
        self.heard.clear()

    def wait_for(self, kind, seconds=60.0):
        """Role and name, and box on the screen, of the next that tells this of itself. What was
        told before is forgotten."""
        def next_one():
            self._listen()
            while self.heard:
                event, control, box = self.heard.pop(0)
                if event == kind:
                    return control, box
            return None
        return wait_for(next_one, f"an event {kind}", seconds)

    def _listen(self):
        context = GLib.MainContext.default()
        while context.iteration(False):
            pass
