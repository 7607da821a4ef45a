"""What the proof of discovery plays with: hosts in network namespaces, and the programs that run on them."""
import collections
import itertools
import json
import os
import plistlib
import re
import shutil
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path
from xml.sax.saxutils import escape

SERVICE_TYPE = "_matrixswitcher._tcp"
PATIENCE = 20  # seconds for what should take two at most


class NotHeld(Exception):
    pass


def require(condition, text):
    if not condition:
        raise NotHeld(text)


class Program:
    """A process in a host's namespace; its output is gathered line by line."""

    def __init__(self, field, host, command, environment=None):
        self.lines = []
        self.heard = threading.Condition()
        self.process = subprocess.Popen(in_namespace(field, host, command), env={**os.environ, **(environment or {})},
                                        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                        text=True, errors="replace")
        field.programs.append(self)
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            with self.heard:
                self.lines.append(line.rstrip("\n"))
                self.note(self.lines[-1])
                self.heard.notify_all()
        with self.heard:
            self.heard.notify_all()

    def note(self, line):
        """For those who read more than the line."""

    def until(self, condition, text, seconds=PATIENCE):
        """Waits until something it says makes the condition true; returns the seconds that took."""
        start = time.monotonic()
        with self.heard:
            if not self.heard.wait_for(condition, seconds):
                raise NotHeld(f"{text}; after {seconds} s: " + " | ".join(self.lines[-12:]))
        return time.monotonic() - start

    def end(self, number=signal.SIGTERM):
        self.process.send_signal(number)
        self.process.wait(PATIENCE)


class Watch(Program):
    """What a browser beside the plugin is told."""

    def __init__(self, field):
        self.counts = collections.Counter()  # by what was told of whom
        self.leads_to = {}
        super().__init__(field, "plugin", [field.bin / "discovery-watch", SERVICE_TYPE + "."], field.bus)

    def note(self, line):
        event = json.loads(line)
        self.counts[event["what"], event["text"]] += 1
        if event["what"] == "resolved":
            self.leads_to[event["text"]] = event["addresses"]

    def of(self, what):
        """Of whom that was told, as often as it was told."""
        return sorted(text for kind, text in self.counts.elements() if kind == what)

    def addresses(self, name):
        return self.leads_to.get(name, [])

    def sees(self, what, names, times=1, seconds=PATIENCE):
        rest = list(names)

        def condition():
            while rest and self.counts[what, rest[-1]] >= times:
                rest.pop()
            return not rest
        return self.until(condition, f"not {what} as expected: {names[:5]}", seconds)

    def require_once(self, found, removed=()):
        """Each was found and removed as often as is listed, and nothing else was."""
        story = " | ".join(self.lines[-12:])
        require(self.of("found") == sorted(found), f"found {self.of('found')[:12]}, expected {found[:12]}; {story}")
        require(self.of("removed") == sorted(removed), f"removed {self.of('removed')[:12]}; {story}")


class Field:
    """Hosts on wires: a bridge for each wire, a link to each for every host."""

    numbers = itertools.count()

    def __init__(self, options, beside, families="both", wires=1, hosts=("alpha",), objects=1024):
        self.options, self.bin, self.beside, self.families = options, options.bin, beside, families
        self.id = f"proof{next(Field.numbers)}"
        self.folder = Path("/run/proof") / self.id
        self.folder.mkdir(parents=True)
        self.programs = []
        self.namespaces = []
        self.bus = {"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent"}
        try:
            self._connect(["plugin", *hosts], wires)
            if beside == "daemon":
                self.start_bus()
                self.daemon = AvahiHost(self, "plugin", objects)
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        for program in reversed(self.programs):
            if program.process.poll() is None:
                program.end(signal.SIGKILL)
        for name in self.namespaces:
            ip("netns", "del", name)

    def _connect(self, hosts, wires):
        for name in ["wires", *hosts]:
            self.namespaces.append(f"{self.id}-{name}")
            ip("netns", "add", self.namespaces[-1])
        for wire, (number, host) in itertools.product(range(wires), enumerate(hosts, 1)):
            if number == 1:
                ip("-n", f"{self.id}-wires", "link", "add", f"wire{wire}", "type", "bridge", "mcast_snooping", "0")
                ip("-n", f"{self.id}-wires", "link", "set", f"wire{wire}", "up")
            self.make_link(host, number, wire)

    def make_link(self, host, number, wire):
        port, link = f"{host}{wire}", f"link{wire}"
        ip("-n", f"{self.id}-wires", "link", "add", port, "type", "veth", "peer", "name", link, "netns",
           f"{self.id}-{host}")
        ip("-n", f"{self.id}-{host}", "link", "set", link, "addrgenmode", "none")
        ip("-n", f"{self.id}-wires", "link", "set", port, "master", f"wire{wire}", "up")
        self.link_up(host, number, wire)

    def delete_link(self, host, wire):
        ip("-n", f"{self.id}-{host}", "link", "del", f"link{wire}")

    def link_up(self, host, number, wire):
        link = f"link{wire}"
        if self.families != "IPv6":
            ip("-n", f"{self.id}-{host}", "addr", "replace", f"10.0.{wire}.{number}/24", "dev", link,
               "label", f"{link}:1")  # which the system reports in place of the interface's name
        if self.families != "IPv4":  # the kernel takes it away with the link
            ip("-n", f"{self.id}-{host}", "addr", "replace", f"fe80::{wire + 1}:{number}/64", "dev", link, "nodad")
        ip("-n", f"{self.id}-{host}", "link", "set", link, "up")
        if self.families != "IPv6" and wire == 0:
            ip("-n", f"{self.id}-{host}", "route", "replace", "default", "dev", link)

    def link_down(self, host, wire):
        ip("-n", f"{self.id}-{host}", "link", "set", f"link{wire}", "down")

    def take_addresses(self, host, wire):
        ip("-n", f"{self.id}-{host}", "addr", "flush", "dev", f"link{wire}")

    def addresses_of(self, host_number, wire=0):
        v4, v6 = f"10.0.{wire}.{host_number}", f"fe80::{wire + 1}:{host_number}"
        return {"IPv4": [v4], "IPv6": [v6], "both": [v4, v6]}[self.families]

    def start_bus(self):
        socket = self.folder / "bus"
        socket.unlink(missing_ok=True)
        config = self.folder / "bus.conf"
        config.write_text(
            f"<busconfig><type>system</type><listen>unix:path={socket}</listen><auth>EXTERNAL</auth>"
            '<policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*"/>'
            '<allow receive_sender="*"/></policy></busconfig>')
        self.bus = {"DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={socket}"}
        self.bus_daemon = Program(self, "plugin", ["dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile",
                                                   "--nosyslog", "--print-address"])
        self.bus_daemon.until(lambda: self.bus_daemon.lines, "no system bus")

    def settings(self, name):
        """A file with settings that select that server and list one output."""
        path = self.folder / "settings.plist"
        path.write_bytes(plistlib.dumps({"selectedDeviceName": name, "configuredOutputs": [
            {"label": "Programme", "outputType": "output", "outputNumber": 0, "defaultInputNumber": 0}]}))
        return path

    def host(self, *arguments):
        """Runs velmora-host beside the plugin and returns its JSON document."""
        command = in_namespace(self, "plugin", [self.bin / "velmora-host", "--json", "--wait", PATIENCE, *arguments])
        done = subprocess.run(command, env={**os.environ, **self.bus}, stdin=subprocess.DEVNULL, capture_output=True,
                              text=True, timeout=2 * PATIENCE)
        require(done.returncode == 0, f"velmora-host {arguments}: {done.stderr}")
        return json.loads(done.stdout)


def in_namespace(field, host, command):
    return ["nsenter", f"--net=/run/netns/{field.id}-{host}", "--", *map(str, command)]


def ip(*arguments):
    subprocess.run(["ip", *arguments], check=True, capture_output=True, text=True)


class SwitchServer(Program):
    """A switch server; it shows what it is asked."""

    def __init__(self, field, host, *arguments):
        super().__init__(field, host, [field.bin / "velmora-switch-server", "--verbose", *arguments], field.bus)
        self.until(lambda: self.lines, "no switch server")
        self.port = int(re.search(r":(\d+)$", self.lines[0])[1])

    def is_asked(self):
        return self.until(lambda: any("MATRIXSIZE" in line for line in self.lines), "not connected to")


class AvahiHost:
    """avahi-daemon on a host. On the plugin's it is asked over the bus; elsewhere it announces what publish() says."""

    def __init__(self, field, host, objects=1024):
        self.field, self.host_name, self.objects = field, host, objects  # those that one client may have
        self.folder = field.folder / host
        for name in ("services", "run"):
            (self.folder / name).mkdir(parents=True)
        self.start()

    def start(self):
        asked = "yes" if self.host_name == "plugin" else "no"
        config = self.folder / "avahi.conf"
        config.write_text(f"[server]\nhost-name={self.host_name}\nuse-ipv4=yes\nuse-ipv6=yes\nenable-dbus={asked}\n"
                          f"objects-per-client-max={self.objects}\n"
                          "[wide-area]\nenable-wide-area=no\n[publish]\npublish-hinfo=no\npublish-workstation=no\n")
        (self.folder / "run" / "pid").unlink(missing_ok=True)
        # Its places for services, process number and socket cannot be configured.
        script = ('mount --bind "$1/services" /etc/avahi/services && mount --bind "$1/run" /run/avahi-daemon && '
                  'exec avahi-daemon --file="$1/avahi.conf" --no-drop-root --no-chroot --no-rlimits --no-proc-title')
        self.program = Program(self.field, self.host_name,
                               ["unshare", "--mount", "sh", "-c", script, "sh", self.folder], self.field.bus)
        self.program.until(lambda: any("startup complete" in line for line in self.program.lines), "no avahi-daemon")

    def publish(self, *services):
        for name, port in services:
            path = self.folder / "services" / f"{port}.service"
            new = path.with_suffix(".new")
            new.write_text(f"<service-group><name>{escape(name)}</name><service><type>{SERVICE_TYPE}</type>"
                           f"<port>{port}</port></service></service-group>")
            new.rename(path)
        self.program.process.send_signal(signal.SIGHUP)

    def withdraw(self, *ports):
        for port in ports:
            (self.folder / "services" / f"{port}.service").unlink()
        self.program.process.send_signal(signal.SIGHUP)

    def end(self, number=signal.SIGTERM):
        self.program.end(number)


PYTHON_ANNOUNCER = """
import json, signal, sys, threading, time, zeroconf
task = json.loads(sys.argv[1])
end = threading.Event()
signal.signal(signal.SIGTERM, lambda *_: end.set())
versions = {"IPv4": zeroconf.IPVersion.V4Only, "IPv6": zeroconf.IPVersion.V6Only, "both": zeroconf.IPVersion.All}
zc = zeroconf.Zeroconf(ip_version=versions[task["families"]])
for name, port in task["services"]:
    kind = task["type"] + ".local."
    info = zeroconf.ServiceInfo(kind, name + "." + kind, port, server="python-host.local.", host_ttl=task["host_ttl"],
                                other_ttl=task["other_ttl"], parsed_addresses=task["addresses"])
    zc.register_service(info, allow_name_change=True)
    print("up", flush=True)
while not end.wait(0.2):
    pass
# An answer that zeroconf holds back, as it may for a second, is sent even after the goodbye and would undo it.
time.sleep(1.2)
zc.close()  # says goodbye
"""

PYTHON_BROWSER = """
import sys, threading, zeroconf

class Listener:
    def add_service(self, zc, kind, name):
        info = zc.get_service_info(kind, name)
        print("found", name.removesuffix("." + kind), info and info.port, flush=True)
    def remove_service(self, zc, kind, name):
        print("removed", name.removesuffix("." + kind), flush=True)
    def update_service(self, zc, kind, name):
        pass

zc = zeroconf.Zeroconf()
browser = zeroconf.ServiceBrowser(zc, sys.argv[1] + ".local.", Listener())
threading.Event().wait()
"""

NODE_ANNOUNCER = """
const {Bonjour} = require('bonjour-service');
const task = JSON.parse(process.argv[1]);
const bonjour = new Bonjour();
for (const [name, port] of task.services) {
    const service = bonjour.publish({name, port, type: task.type.slice(1).split('.')[0], host: 'node-host.local'});
    service.on('up', () => console.log('up'));
}
process.on('SIGTERM', () => bonjour.unpublishAll(() => bonjour.destroy(() => process.exit(0))));
"""


class Announcer:
    """A library's announcer on the host alpha. Until end() it announces what it was given."""

    commands = {"Python": [sys.executable, "-c", PYTHON_ANNOUNCER], "Node": ["node", "-e", NODE_ANNOUNCER, "--"]}

    def __init__(self, field, kind, services, times_to_live=(120, 4500)):
        task = {"services": services, "type": SERVICE_TYPE, "families": field.families,
                "addresses": field.addresses_of(2), "host_ttl": times_to_live[0], "other_ttl": times_to_live[1]}
        self.program = Program(field, "alpha", [*self.commands[kind], json.dumps(task)],
                               {"NODE_PATH": str(field.options.node / "node_modules")})
        self.program.until(lambda: self.program.lines.count("up") == len(services),
                           f"{kind} has not announced {services}")

    def end(self, number=signal.SIGTERM):
        self.program.end(number)


def announce(field, kind, services, **more):
    if kind != "Avahi":
        return Announcer(field, kind, services, **more)
    alpha = AvahiHost(field, "alpha")
    alpha.publish(*services)
    return alpha
