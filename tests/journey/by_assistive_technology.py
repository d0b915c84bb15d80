"""by_assistive_technology.py LUMIVERT: from the first window to a print, by the accessibility bus."""

import os
import struct
import subprocess
import sys
import time
import zlib

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

PATIENCE = 30  # seconds


def write_photo(path, width, height):
    """A PNG of one colour."""

    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data +
                struct.pack(">I", zlib.crc32(kind + data)))

    rows = (b"\0" + b"\xc8\x3c\x28" * width) * height
    with open(path, "wb") as photo:
        photo.write(b"\x89PNG\r\n\x1a\n" +
                    chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
                    chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def below(node):
    """The node and what lies below it, as far as it shows."""
    yield node
    for index in range(node.get_child_count()):
        child = node.get_child_at_index(index)
        if child:
            yield from below(child)


def shows(node):
    states = node.get_state_set()
    return states.contains(Atspi.StateType.SHOWING) and states.contains(Atspi.StateType.VISIBLE)


def waited(condition, what):
    """What `condition` gives once it gives anything."""
    deadline = time.monotonic() + PATIENCE
    while time.monotonic() < deadline:
        while GLib.MainContext.default().iteration(False):  # events are handed on
            pass
        try:
            found = condition()
        except GLib.Error:  # what was there has just gone
            found = None
        if found:
            return found
        time.sleep(0.1)
    raise AssertionError("not seen: " + what)


def find(root, name, *roles):
    def search():
        for node in below(root):
            if node.get_name() == name and node.get_role_name() in roles and shows(node):
                return node
        return None

    return waited(search, f"{' or '.join(roles)} {name!r}")


def press(node):
    names = [node.get_action_name(i) for i in range(node.get_n_actions())]
    for wanted in ("Press", "Toggle"):
        if wanted in names:
            node.do_action(names.index(wanted))
            return
    raise AssertionError(f"{node.get_name()!r} can be {names}")


def application():
    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        child = desktop.get_child_at_index(index)
        if child and child.get_name() == "lumivert":
            return child
    return None


def is_checked(node):
    return node.get_state_set().contains(Atspi.StateType.CHECKED)


def notice(window, words):
    waited(lambda: any(node.get_name().startswith(words) and
                       node.get_role_name() in ("alert", "notification")
                       for node in below(window) if shows(node)), "a notice: " + words)


def listen():
    """What comes up or is announced, by name, from now on."""
    heard = []
    listener = Atspi.EventListener.new(lambda event: heard.append(
        event.source.get_name() if "showing" in event.type else str(event.any_data)))
    for event in ("object:state-changed:showing", "object:announcement"):
        listener.register(event)
    return listener, heard


def journey(photo):
    program = waited(application, "the program")
    program.set_cache_mask(Atspi.Cache.NONE)  # what is asked for is what is there
    window = find(program, "Lumivert", "frame", "window")

    press(find(window, "Choose File...", "push button", "button"))
    dialog = find(program, "Open Image", "dialog", "file chooser")
    field = waited(
        lambda: next((node for node in below(dialog)
                      if node.get_role_name() in ("text", "entry") and shows(node) and
                      node.get_state_set().contains(Atspi.StateType.EDITABLE)), None),
        "the field for the file's name")
    field.set_text_contents(photo)
    press(find(dialog, "Open", "push button", "button"))

    picture = find(window, "Paper preview", "image", "graphic", "icon")
    waited(lambda: picture.get_description().startswith("A4 (210 × 297 mm) landscape, photo "),
           "the sentence of the preview, not " + picture.get_description())

    unnamed = [node.get_role_name() for node in below(window)
               if shows(node) and not node.get_name() and
               node.get_state_set().contains(Atspi.StateType.FOCUSABLE)]
    assert not unnamed, f"without a name: {unnamed}"

    orientation = find(window, "Orientation", "combo box")
    assert orientation.get_description() == "Paper", orientation.get_description()
    assert Atspi.Text.get_text(orientation, 0, 99) == "Auto"
    press(orientation)
    find(program, "Landscape", "list item", "table cell", "menu item")
    press(orientation)

    top = find(window, "Top", "slider")
    assert top.get_description() == "margin in millimetres", top.get_description()
    assert (top.get_minimum_value(), top.get_maximum_value()) == (0, 50)
    top.set_current_value(12.5)
    find(window, "12.5 mm", "label")

    borderless = find(window, "Borderless", "check box")
    press(borderless)
    waited(lambda: is_checked(borderless), "Borderless switched on")
    waited(lambda: picture.get_description().endswith(", borderless"),
           "a preview without borders")
    press(borderless)
    waited(lambda: not is_checked(borderless), "Borderless switched off")

    mode = find(window, "Mode", "panel", "grouping")
    assert mode.get_description() == "Margins", mode.get_description()
    press(find(mode, "Image Size", "radio button"))
    find(window, "Width", "slider")

    press(find(window, "Save Current Settings", "push button", "button"))
    alert = find(program, "Save Preset", "dialog", "alert")
    find(alert, "Preset name", "text", "entry").set_text_contents("By ear")
    press(find(alert, "Save", "push button", "button"))
    assert find(window, "Delete By ear", "push button", "button")
    preset = find(window, "By ear", "push button", "button")
    assert "mm" in preset.get_description(), preset.get_description()

    press(find(window, "Show CUPS Command", "push button", "button"))
    notice(window, "lp -d Photo -o PageSize=A4 ")

    refresh = find(window, "Refresh", "push button", "button")
    assert refresh.get_description() == "Printer", refresh.get_description()
    strays = [node.get_name() for node in below(window)
              if shows(node) and node != window and node.get_role_name() in ("frame", "window")]
    assert not strays, f"no windows, but said to be: {strays}"

    send = find(window, "Print", "push button", "button")
    assert send.get_description() == "Ctrl+P", send.get_description()
    press(send)
    question = find(program, "Print", "dialog", "alert")
    assert "With margins" in question.get_description(), question.get_description()
    press(find(question, "Print", "push button", "button"))
    notice(window, "Print failed: lp: it has no paper")

    # The same error once more stands there already: only an announcement tells of it.
    listener, heard = listen()
    press(send)
    press(find(find(program, "Print", "dialog", "alert"), "Print", "push button", "button"))
    waited(lambda: any(words.startswith("Print failed: lp: it has no paper") for words in heard),
           "an announcement of the second error")
    del listener


def main():
    photo = os.path.join(os.environ["HOME"], "photo.png")
    write_photo(photo, 600, 400)
    Atspi.get_desktop(0).get_child_count()  # has the registry started before the program looks for it
    program = subprocess.Popen([sys.argv[1]])
    try:
        journey(photo)
    finally:
        program.terminate()
        program.wait()


main()
