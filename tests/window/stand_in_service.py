"""A freshly started brightloom-devserver for one test, and an HTTP client that plays the browser."""

import http.cookiejar
import json
import os
import ssl
import subprocess
import time
import urllib.parse
import urllib.request


class _NoRedirects(urllib.request.HTTPRedirectHandler):
    def redirect_request(self, req, fp, code, msg, headers, newurl):
        return None


class StandInService:
    def __init__(self, binary, data_folder):
        self.data = data_folder
        os.makedirs(data_folder, exist_ok=True)
        self.log = open(os.path.join(data_folder, "log"), "w")
        self.process = subprocess.Popen(
            [binary, "--data", data_folder, "--port", "0", "--speed", "3600", "--control"],
            stdout=subprocess.PIPE, stderr=self.log, text=True)
        self.base = self.process.stdout.readline().strip()
        if not self.base:
            raise RuntimeError("the stand-in service did not start")
        self.certificate = os.path.join(data_folder, "cert.pem")
        self.tls = ssl.create_default_context(cafile=self.certificate)

    def stop(self):
        self.process.terminate()
        self.process.wait(timeout=10)
        self.process.stdout.close()
        self.log.close()

    def control(self, method, path, body=None):
        data = json.dumps(body if body is not None else {}).encode()
        request = urllib.request.Request(self.base + path, data=data, method=method,
                                         headers={"Content-Type": "application/json"})
        with urllib.request.urlopen(request, context=self.tls, timeout=10) as reply:
            return json.loads(reply.read() or b"{}")

    def step(self, steps=1):
        return self.control("POST", "control/clock/step", {"steps": steps})

    def browser_sign_in(self, email, password):
        """Plays the browser on the sign-in page; answers the brightloom:// address it is sent to."""
        jar = http.cookiejar.CookieJar()
        opener = urllib.request.build_opener(
            urllib.request.HTTPSHandler(context=self.tls), urllib.request.HTTPCookieProcessor(jar), _NoRedirects())
        with opener.open(self.base + "native-sign-in", timeout=10) as page:
            page.read()
        form = urllib.parse.urlencode({"email": email, "password": password}).encode()
        try:
            opener.open(urllib.request.Request(self.base + "native-sign-in", data=form), timeout=10)
        except urllib.error.HTTPError as redirect:
            if redirect.code in (301, 302, 303, 307):
                return redirect.headers["Location"]
            raise
        raise AssertionError("the sign-in page did not send the browser on")
