# SPDX-License-Identifier: Apache-2.0
"""A headless Chromium, driven through its DevTools protocol on a pipe."""
import base64
import json
import os
import shutil
import subprocess
import tempfile
import threading
import time

PROGRAM = shutil.which("chromium")
PATIENCE = 60  # seconds until something that has to happen is given up
ARGUMENTS = (
    "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
    "--disable-default-apps", "--disable-extensions", "--disable-dev-shm-usage", "--mute-audio",
    "--hide-scrollbars", "--force-color-profile=srgb", "--lang=en-US", "--remote-debugging-pipe")


class Browser:
    """A browser of its own, with nothing remembered."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="tarn-exporter-browser-")
        to_read, self.to_write = os.pipe()
        from_read, from_write = os.pipe()
        # The shell gives the pipes the numbers that the browser expects.
        script = f'exec "$@" 3<&{to_read} 4>&{from_write}'
        self.process = subprocess.Popen(
            ["sh", "-c", script, "sh", PROGRAM, *ARGUMENTS, "--user-data-dir=" + self.folder],
            pass_fds=(to_read, from_write), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, start_new_session=True,
            env={**os.environ, "HOME": self.folder, "TMPDIR": self.folder, "TZ": "UTC"})
        os.close(to_read)
        os.close(from_write)
        self.input = os.fdopen(from_read, "rb")
        self.replies = {}
        self.events = []
        self.number = 0
        self.arrived = threading.Condition()
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        text = b""
        while piece := self.input.read1(65536):
            *messages, text = (text + piece).split(b"\0")
            with self.arrived:
                for each in map(json.loads, messages):
                    if "id" in each:
                        self.replies[each["id"]] = each
                    else:
                        self.events.append(each)
                self.arrived.notify_all()

    def call(self, method, session=None, **parameters):
        self.number += 1
        number = self.number
        message = {"id": number, "method": method, "params": parameters}
        if session:
            message["sessionId"] = session
        os.write(self.to_write, json.dumps(message).encode() + b"\0")
        with self.arrived:
            if not self.arrived.wait_for(lambda: number in self.replies, PATIENCE):
                raise AssertionError(f"no reply to {method}")
            reply = self.replies.pop(number)
        if "error" in reply:
            raise AssertionError(f"{method}: {reply['error']}")
        return reply["result"]

    def close(self):
        self.process.kill()
        try:
            os.killpg(self.process.pid, 9)
        except ProcessLookupError:
            pass
        self.process.wait()
        self.reader.join(PATIENCE)
        self.input.close()
        os.close(self.to_write)
        shutil.rmtree(self.folder, ignore_errors=True)


class Page:
    """A page of the browser in a profile of its own."""

    def __init__(self, browser, width=1280, height=800):
        self.browser = browser
        self.context = browser.call("Target.createBrowserContext")["browserContextId"]
        self.target = browser.call("Target.createTarget", url="about:blank",
                                   browserContextId=self.context)["targetId"]
        self.session = browser.call("Target.attachToTarget", targetId=self.target,
                                    flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Network", "Log"):
            self.call(domain + ".enable")
        self.resize(width, height)

    def call(self, method, **parameters):
        return self.browser.call(method, self.session, **parameters)

    def resize(self, width, height=800):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=1, mobile=False)

    def prefer(self, **features):
        """Media features: prefer(prefers_color_scheme="dark")."""
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": name.replace("_", "-"), "value": value}
                            for name, value in features.items()])

    def open(self, address):
        self.call("Page.navigate", url=address)

    def value(self, expression):
        """Of a JavaScript expression."""
        done = self.call("Runtime.evaluate", expression=expression, returnByValue=True,
                         awaitPromise=True)
        if "exceptionDetails" in done:
            raise AssertionError(f"{expression}: {done['exceptionDetails']}")
        return done["result"].get("value")

    def until(self, expression, what=None):
        """Waits until an expression is true, and returns its value."""
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            found = self.value(f"(() => {{ try {{ const found = {expression};"
                               "return found instanceof Node || found } catch {} })()")
            if found:
                return found
            time.sleep(0.05)
        text = self.value("document.body.innerText")
        raise AssertionError(f"waited in vain for {what or expression}; the page has:\n{text}")

    def text(self, selector):
        return self.value(f"document.querySelector({json.dumps(selector)})?.textContent ?? null")

    def texts(self, selector):
        return self.value(
            f"[...document.querySelectorAll({json.dumps(selector)})].map((e) => e.textContent)")

    def press(self, key, text=None):
        codes = {"Enter": 13, "Escape": 27, "ArrowDown": 40, "ArrowUp": 38, "ArrowRight": 39,
                 "ArrowLeft": 37, "Home": 36, "End": 35, "Tab": 9}
        text = key if len(key) == 1 else "\r" if key == "Enter" else text
        event = {"key": key, "windowsVirtualKeyCode": codes.get(key, ord(key[0].upper()))}
        self.call("Input.dispatchKeyEvent", type="keyDown", **event, **({"text": text} if text else {}))
        self.call("Input.dispatchKeyEvent", type="keyUp", **event)

    def type(self, text):
        self.call("Input.insertText", text=text)

    def place(self, selector):
        """The middle of an element."""
        return self.value(
            f"(() => {{ const e = document.querySelector({json.dumps(selector)});"
            "e.scrollIntoView({block: 'center'}); const r = e.getBoundingClientRect();"
            "return [r.left, r.top, r.width, r.height]; })()")

    def mouse(self, kind, x, y):
        self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1,
                  buttons=0 if kind == "mouseReleased" else 1)

    def click(self, selector):
        # A page that is being laid out moves its elements.
        place = None
        while place != (place := self.place(selector)):
            time.sleep(0.1)
        left, top, width, height = place
        x, y = left + width / 2, top + height / 2
        self.mouse("mousePressed", x, y)
        self.mouse("mouseReleased", x, y)

    def drag(self, selector, begin, end):
        """Over an element, from a share of its width to another one."""
        left, top, width, height = self.place(selector)
        y = top + height / 2
        places = [left + width * (begin + (end - begin) * i / 5) for i in range(6)]
        self.call("Input.dispatchMouseEvent", type="mouseMoved", x=places[0], y=y)
        self.mouse("mousePressed", places[0], y)
        for x in places[1:]:
            self.call("Input.dispatchMouseEvent", type="mouseMoved", x=x, y=y, button="left",
                      buttons=1)
        self.mouse("mouseReleased", places[-1], y)

    def picture(self, path):
        shot = self.call("Page.captureScreenshot", format="png")
        with open(path, "wb") as file:
            file.write(base64.b64decode(shot["data"]))

    def happened(self, method):
        """The parameters of the events of this kind."""
        with self.browser.arrived:
            return [each["params"] for each in self.browser.events
                    if each["method"] == method and each.get("sessionId") == self.session]

    def close(self):
        self.browser.call("Target.disposeBrowserContext", browserContextId=self.context)
