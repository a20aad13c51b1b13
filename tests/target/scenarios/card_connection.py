"""The connections of the harness outside a machine: sockets that carry lines."""

import socket


def lines_of(connection):
    return connection.makefile("r", encoding="utf-8", errors="replace", newline="\n")


def ask_card(control, words, timeout_s):
    """The reply of the card whose control socket this is, with the empty line at its end; None when the card is gone."""
    with socket.socket(socket.AF_UNIX) as card:
        card.settimeout(timeout_s)
        card.connect(control)
        card.sendall((words + "\n").encode())
        reply = ""
        for line in lines_of(card):
            reply += line
            if line == "\n":
                return reply
    return None
