#!/usr/bin/env python3
"""A computer that one can scan to from the scanner's own panel.

It tells the scanner that it is there, waits until somebody picks it at the panel, scans with what
was chosen there, saves the pages, and takes its name off the panel when it ends.
"""

import argparse
import http.client
import os
import signal
import socket
import sys
import time
import urllib.error
import urllib.parse
import urllib.request
import xml.etree.ElementTree as ET
from typing import NamedTuple

PWG = "http://www.pwg.org/schemas/2010/12/sm"
EXTENSIONS = {"image/jpeg": ".jpg", "application/pdf": ".pdf", "image/tiff": ".tif"}
REQUEST_TIMEOUT_S = 60
# A scanner is on the same network: no proxy lies between.
OPENER = urllib.request.build_opener(urllib.request.ProxyHandler({}))


class Event(NamedTuple):
    kind: str  # ScanRequested, ScanNewPageRequested, ScanPagesComplete, HostSelected
    shortcut: str
    duplex: bool


class Refused(Exception):
    """The scanner's answer is none that the work can go on with."""


class Answer(NamedTuple):
    status: int
    headers: dict
    body: bytes


class Scanner:
    """Requests to one interface of one scanner."""

    def __init__(self, url):
        self.url = url.rstrip("/")

    def open(self, path, timeout_s=REQUEST_TIMEOUT_S):
        return OPENER.open(self.url + path, timeout=timeout_s)

    def ask(self, method, path, document=None):
        body = None
        if document is not None:
            body = ET.tostring(document, "utf-8", xml_declaration=True)
        request = urllib.request.Request(self.url + path, body, method=method)
        if body is not None:
            request.add_header("Content-Type", "text/xml")
        try:
            with OPENER.open(request, timeout=REQUEST_TIMEOUT_S) as answer:
                return Answer(answer.status, answer.headers, answer.read())
        except urllib.error.HTTPError as error:
            with error:
                return Answer(error.code, error.headers, error.read())

    def document(self, path):
        answer = self.ask("GET", path)
        if answer.status != 200:
            raise Refused(f"{path}: HTTP status {answer.status}")
        return ET.fromstring(answer.body)

    def create(self, path, document):
        """Path of what the scanner made of the document."""
        answer = self.ask("POST", path, document)
        location = answer.headers.get("Location")
        if answer.status != 201 or not location:
            reason = answer.body.decode("utf-8", "replace").strip()
            raise Refused(f"{path}: HTTP status {answer.status} {reason}")
        return urllib.parse.urlsplit(location).path


def local_name(element):
    return element.tag.rpartition("}")[2]


def namespace(element):
    return element.tag[1:].partition("}")[0]


def text_of(root, name):
    """Text of the first element of that local name; empty without one."""
    return next((e.text or "" for e in root.iter() if local_name(e) == name), "")


def add(parent, space, name, text=None):
    element = ET.SubElement(parent, f"{{{space}}}{name}")
    element.text = text
    return element


class Subscription:
    """Over the network: subscribes to walk-up scanning and polls for its event."""

    def __init__(self, scanner, options):
        self.scanner = scanner
        self.interval_s = options.interval
        space = namespace(scanner.document("/eSCL/ScannerStatus"))
        document = ET.Element(f"{{{space}}}WalkupScanSubscription")
        add(document, space, "HostIdentifier", options.name)
        add(document, space, "Connection", "Network")
        if options.shortcut:
            shortcuts = add(document, space, "Shortcuts")
            for name in options.shortcut:
                add(shortcuts, space, "Shortcut", name)
        self.path = scanner.create("/eSCL/WalkupSubscriptions", document)

    def events(self):
        event_path = "/eSCL/WalkupScanEvent/" + self.path.rpartition("/")[2]
        while True:
            answer = self.scanner.ask("GET", event_path)
            if answer.status == 200:
                root = ET.fromstring(answer.body)
                duplex = text_of(root, "Duplex") == "true"
                yield Event(text_of(root, "Event"), text_of(root, "Shortcut"), duplex)
            elif answer.status == 204:
                time.sleep(self.interval_s)
            else:
                raise Refused(f"{event_path}: HTTP status {answer.status}")


class UsbDestination:
    """Over USB: registers as a destination and waits for the scanner's interrupts."""

    def __init__(self, scanner, options):
        self.scanner = scanner
        # Before the registration, so that no interrupt is missed.
        self.interrupts = scanner.open("/usb/interrupt")
        listed = "/WalkupScanToComp/WalkupScanToCompDestinations"
        space = namespace(scanner.document(listed))
        base = space.partition("/con/")[0] + "/con/dictionaries/"
        document = ET.Element(f"{{{space}}}WalkupScanToCompDestination")
        add(document, base + "1.0/", "Name", options.name)
        add(document, base + "2009/04/06", "Hostname", options.name)
        add(document, space, "LinkType", "USB")
        if options.shortcut:
            shortcuts = add(document, space, "CustomShortcuts")
            for name in options.shortcut:
                add(shortcuts, space, "CustomShortcut", name)
        self.path = scanner.create(listed, document)

    def events(self):
        for line in self.interrupts:
            if not line.startswith(b"data:"):
                continue
            event = self.scanner.document("/WalkupScanToComp/WalkupScanToCompEvent")
            picked = self.scanner.document(self.path)
            duplex = text_of(picked, "ScanPlexMode") == "Duplex"
            kind = text_of(event, "WalkupScanToCompEventType")
            yield Event(kind, text_of(picked, "Shortcut"), duplex)
        raise Refused("the USB connection has ended")


def scan_settings(scanner, event, resolution):
    status = scanner.document("/eSCL/ScannerStatus")
    scan = namespace(status)
    from_feeder = text_of(status, "AdfState") == "ScannerAdfLoaded"
    media_type = "application/pdf" if "PDF" in event.shortcut.upper() else "image/jpeg"
    document = ET.Element(f"{{{scan}}}ScanSettings")
    add(document, PWG, "Version", "2.1")
    add(document, scan, "Intent", "Document")
    add(document, PWG, "DocumentFormat", media_type)
    add(document, scan, "DocumentFormatExt", media_type)
    add(document, PWG, "InputSource", "Feeder" if from_feeder else "Platen")
    add(document, scan, "XResolution", str(resolution))
    add(document, scan, "YResolution", str(resolution))
    add(document, scan, "ColorMode", "RGB24")
    if from_feeder:
        add(document, scan, "Duplex", "true" if event.duplex else "false")
    return document


def save(directory, answer):
    """Writes a page under the next free number, never over another file."""
    media_type = answer.headers.get_content_type()
    number = 1
    while True:
        path = os.path.join(directory, f"page-{number:03}{EXTENSIONS.get(media_type, '.bin')}")
        try:
            with open(path, "xb") as file:
                file.write(answer.body)
            return path
        except FileExistsError:
            number += 1


def scan(scanner, event, options):
    """Scans one job; returns how many documents were saved."""
    job = scanner.create("/eSCL/ScanJobs", scan_settings(scanner, event, options.resolution))
    saved = 0
    while True:
        answer = scanner.ask("GET", job + "/NextDocument")
        if answer.status == 200:
            say("saved " + save(options.out, answer))
            saved += 1
        elif answer.status == 503:
            time.sleep(int(answer.headers.get("Retry-After", "1")))
        elif answer.status == 404:
            return saved
        else:
            raise Refused(f"the scan broke off after {saved} documents (status {answer.status})")


def say(text):
    print(text, flush=True)


def serve(host, scanner, options):
    for event in host.events():
        say(f"{event.kind} {event.shortcut or '-'} {'duplex' if event.duplex else 'simplex'}")
        if event.kind not in ("ScanRequested", "ScanNewPageRequested"):
            continue
        try:
            say(f"done, {scan(scanner, event, options)} documents")
        except Refused as refusal:
            say(str(refusal))
        if options.once:
            return


def parse_options():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("url", help="scanner, http://127.0.0.1:8080; with --usb its USB interface")
    parser.add_argument("--name", default=socket.gethostname(), help="as the panel shows it")
    parser.add_argument("--usb", action="store_true", help="wait for USB interrupts, do not poll")
    parser.add_argument("--shortcut", action="append", default=[], help="one more for the panel")
    parser.add_argument("--out", default="walkup", help="directory for the pages")
    parser.add_argument("--resolution", type=int, default=300, help="dots per inch")
    parser.add_argument("--interval", type=float, default=1.0, help="seconds between two polls")
    parser.add_argument("--once", action="store_true", help="end after one scan")
    return parser.parse_args()


def stop(_signal, _frame):
    raise KeyboardInterrupt


def take_back(host):
    try:
        host.scanner.ask("DELETE", host.path)
    except (OSError, http.client.HTTPException) as error:
        print(f"walkup_host: {host.path} stays: {error}", file=sys.stderr)


def main():
    options = parse_options()
    signal.signal(signal.SIGTERM, stop)
    scanner = Scanner(options.url)
    host = None
    try:
        os.makedirs(options.out, exist_ok=True)
        host = (UsbDestination if options.usb else Subscription)(scanner, options)
        say(f"waiting as {options.name}: {host.path}")
        serve(host, scanner, options)
    except (Refused, OSError, http.client.HTTPException, ET.ParseError) as error:
        print(f"walkup_host: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        pass
    finally:
        if host:
            take_back(host)
    return 0


if __name__ == "__main__":
    sys.exit(main())
