"""The real service on a bus of its own, and what a client sees of it."""

import collections
import os
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

from gi.repository import Gio, GLib

NAME, ROOT = "org.orvel.Indexer1", "/org/orvel/Indexer1"
WAIT_SECONDS = 60
Change = collections.namedtuple("Change", "time properties")


def connect(address=None):
    """A connection of its own to the session's bus, or to another: another client."""
    return Gio.DBusConnection.new_for_address_sync(
        address or os.environ["DBUS_SESSION_BUS_ADDRESS"],
        Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)


def waitFor(condition, seconds=WAIT_SECONDS):
    """Lets signals come in until `condition` returns something true, and returns that."""
    end = time.monotonic() + seconds
    while not (found := condition()):
        if time.monotonic() > end:
            raise AssertionError("waited too long")
        if not GLib.MainContext.default().iteration(False):
            time.sleep(0.002)
    return found


class Device:
    """A device's object and the signals that came from it, which may be earlier than the answer with its path."""

    def __init__(self, case, path=None):
        self.case, self.path = case, path
        self.changes, self.signals = [], []
        case.bus.signal_subscribe(None, "org.freedesktop.DBus.Properties", "PropertiesChanged", None, None, 0,
                                  self._hear_change)
        case.bus.signal_subscribe(None, NAME + ".Device", None, None, None, 0, self._hear_signal)

    def _hear_change(self, _bus, _sender, path, _interface, _name, arguments):
        if path == self.path:
            self.changes.append(Change(time.monotonic(), arguments.unpack()[1]))

    def _hear_signal(self, _bus, _sender, path, _interface, name, arguments):
        if path == self.path:
            self.signals.append((name, *arguments.unpack()))

    def __getattr__(self, name):
        """Facts as they are now: device.State."""
        return self.case.call(self.path, "org.freedesktop.DBus.Properties.Get", "(ss)", NAME + ".Device", name)[0]

    def call(self, method, signature="()", *arguments):
        return self.case.call(self.path, f"{NAME}.{method}", signature, *arguments)

    def rows(self, kind="songs", offset=0, count=1000, sort="", **filters):
        filters = {name: GLib.Variant("s", text) for name, text in filters.items()}
        return self.call("Browser.List", "(sa{sv}suu)", kind, filters, sort, offset, count)

    def finished(self, status="OK"):
        """Waits for the end of its indexing."""
        waitFor(lambda: ("Finished", status) in self.signals)
        self.signals.remove(("Finished", status))


class BusClient(unittest.TestCase):
    """Calls the service by `bus`, a connection that the test makes."""

    def awaitService(self):
        waitFor(lambda: self.call("/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner", "(s)", NAME,
                                  to="org.freedesktop.DBus")[0])

    def call(self, path, method, signature="()", *arguments, bus=None, to=NAME):
        interface, _, member = method.rpartition(".")
        answer = (bus or self.bus).call_sync(to, path, interface, member, GLib.Variant(signature, arguments), None, 0,
                                             1000 * WAIT_SECONDS)
        return answer.unpack()

    def manager(self, method, signature="()", *arguments, bus=None):
        return self.call(ROOT, f"{NAME}.Manager.{method}", signature, *arguments, bus=bus)

    def index(self, folder, **options):
        options = {name.replace("_", "-"): GLib.Variant("s", text) for name, text in options.items()}
        device = Device(self)
        device.path = self.manager("Index", "(sa{sv})", str(folder), options)[0]
        return device

    def objects(self):
        return self.call(ROOT, "org.freedesktop.DBus.ObjectManager.GetManagedObjects")[0]

    def deviceWith(self, **facts):
        """Waits for a device whose properties are these."""
        def found():
            for path, interfaces in self.objects().items():
                known = interfaces[NAME + ".Device"]
                if all(known[name] == value for name, value in facts.items()):
                    return path
            return None
        return Device(self, waitFor(found))

    def assertRefused(self, error, words, call, *arguments, **more):
        with self.assertRaises(GLib.Error) as refused:
            call(*arguments, **more)
        text = refused.exception.message
        self.assertIn(f":{error if '.' in error else NAME + '.Error.' + error}:", text)
        self.assertIn(words, text)


class ServiceTestCase(BusClient):
    configuration = "[indexing]\nbackground=no\n"

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="orvel-service-")
        self.addCleanup(shutil.rmtree, self.folder)
        bus = Gio.TestDBus.new(Gio.TestDBusFlags.NONE)
        bus.up()
        self.addCleanup(bus.stop)
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = bus.get_bus_address()
        self.bus = connect()
        self.databases = os.path.join(self.folder, "databases")
        self.begin()

    def begin(self, *options):
        configuration = os.path.join(self.folder, "orveld.conf")
        with open(configuration, "w") as file:
            file.write(self.configuration)
        self.log = os.path.join(self.folder, "log")
        with open(self.log, "ab") as log:
            self.service = subprocess.Popen(
                (os.environ["ORVELD"], "--session", "--db-dir", self.databases, "--config", configuration, *options),
                stderr=log)
        self.addCleanup(self.end)
        self.awaitService()

    def end(self, signal_=signal.SIGTERM):
        if self.service.returncode is None:
            self.service.send_signal(signal_)
            self.assertEqual(self.service.wait(WAIT_SECONDS), 0 if signal_ == signal.SIGTERM else -signal_)
