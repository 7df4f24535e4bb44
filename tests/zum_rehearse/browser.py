"""A real browser without a window, driven by its own driver over WebDriver."""

import base64
import json
import re
import shutil
import subprocess
import tempfile
import time
import urllib.request

ARGUMENTS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
             "--disable-extensions", "--disable-background-networking", "--window-size=1400,900"]


class Browser:
    def __init__(self, *arguments):
        self.profile = tempfile.mkdtemp(prefix="zum-browser-")
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                       text=True)
        for line in self.driver.stdout:
            if found := re.search(r"started successfully on port (\d+)", line):
                self.base = f"http://127.0.0.1:{found.group(1)}"
                break
        else:
            raise RuntimeError("chromedriver didn't start")
        options = {"args": [*ARGUMENTS, f"--user-data-dir={self.profile}", *arguments]}
        wanted = {"alwaysMatch": {"browserName": "chrome", "goog:chromeOptions": options,
                                  "goog:loggingPrefs": {"browser": "ALL", "performance": "ALL"}}}
        self.session = self.call("POST", "/session", {"capabilities": wanted})["sessionId"]

    def call(self, method, path, body=None):
        request = urllib.request.Request(self.base + path, method=method,
                                         data=None if body is None else json.dumps(body).encode("utf-8"),
                                         headers={"Content-Type": "application/json"})
        with urllib.request.urlopen(request, timeout=120) as answer:
            return json.load(answer)["value"]

    def ask(self, method, path, body=None):
        return self.call(method, f"/session/{self.session}{path}", body)

    def open(self, path):
        self.ask("POST", "/url", {"url": path.as_uri()})

    def run(self, script, *arguments):
        return self.ask("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def element(self, selector):
        found = self.ask("POST", "/element", {"using": "css selector", "value": selector})
        return next(iter(found.values()))

    def click(self, selector):
        self.ask("POST", f"/element/{self.element(selector)}/click", {})

    def type(self, selector, text):
        self.ask("POST", f"/element/{self.element(selector)}/clear", {})
        self.ask("POST", f"/element/{self.element(selector)}/value", {"text": text})

    def wait_for(self, script, wanted):
        """Until the script gives what is wanted; what it gave last, if it never does."""
        for _ in range(600):
            if (found := self.run(script)) == wanted:
                break
            time.sleep(0.05)
        return found

    def log(self, kind):
        return self.ask("POST", "/se/log", {"type": kind})

    def requests(self):
        """The addresses that were asked for since the last question."""
        found = []
        for entry in self.log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                found.append(message["params"]["request"]["url"])
        return found

    def screenshot(self, path):
        path.write_bytes(base64.b64decode(self.ask("GET", "/screenshot")))

    def close(self):
        try:
            self.ask("DELETE", "")
        finally:
            self.driver.terminate()
            self.driver.wait(30)
            self.driver.stdout.close()
            shutil.rmtree(self.profile, ignore_errors=True)
