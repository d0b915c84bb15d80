#!/usr/bin/python3 -Wignore::DeprecationWarning
"""Works the window of the running Lumivert by what a screen reader is told of it.

window.py press NAME...    presses the named controls or menu items, one after the other; the name
                           may begin with that of its window: "WINDOW > NAME"
window.py shows TEXT...    waits up to three minutes until all the texts show at once
window.py texts            prints what shows
"""

import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402


def everything(node):
    yield node
    for index in range(node.get_child_count()):
        child = node.get_child_at_index(index)
        if child is not None:
            yield from everything(child)


def program():
    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        application = desktop.get_child_at_index(index)
        if application is not None and application.get_name().lower() == "lumivert":
            return application
    raise LookupError("the program is not there")


def named(application, window):
    for index in range(application.get_child_count()):
        child = application.get_child_at_index(index)
        if child.get_name() == window:
            return child
    raise LookupError(f"there is no window {window!r}")


def shows(node):
    return node.get_state_set().contains(Atspi.StateType.SHOWING)


def texts():
    found = []
    for node in everything(program()):
        if not shows(node):
            continue
        found.append(node.get_name())
        text = node.get_text_iface()
        if text is not None:
            found.append(Atspi.Text.get_text(text, 0, -1))
    return [text for text in found if text]


def press(name):
    pressed = None
    window, _, name = name.rpartition(" > ")
    # The items of a menu can be pressed while it is closed.
    for node in everything(named(program(), window) if window else program()):
        actions = node.get_action_iface()
        is_item = node.get_role() == Atspi.Role.MENU_ITEM
        if (
            node.get_name() == name
            and actions is not None
            and (is_item or shows(node))
            and node.get_state_set().contains(Atspi.StateType.ENABLED)
        ):
            pressed = actions
    if pressed is None:
        raise LookupError(f"nothing named {name!r} can be pressed")
    names = [Atspi.Action.get_action_name(pressed, i).lower() for i in range(pressed.get_n_actions())]
    try:
        Atspi.Action.do_action(pressed, names.index("press") if "press" in names else 0)
    except GLib.Error:
        pass  # what it opened keeps the answer back


def until(seconds, attempt):
    """Calls until it gives something; trees change while they are walked."""
    end = time.monotonic() + seconds
    while True:
        try:
            if attempt():
                return
            problem = "not yet"
        except Exception as failure:  # whatever the bus says
            problem = str(failure)
        if time.monotonic() > end:
            try:
                print("showing:", *texts(), sep="\n  ", file=sys.stderr)
            except Exception:
                pass
            sys.exit(f"{' '.join(sys.argv[1:])}: {problem}")
        time.sleep(0.3)


command, arguments = sys.argv[1], sys.argv[2:]
if command == "press":
    for name in arguments:
        until(20, lambda: press(name) or True)
elif command == "shows":
    until(180, lambda: all(any(wanted in text for text in texts()) for wanted in arguments))
else:
    print(*texts(), sep="\n")
