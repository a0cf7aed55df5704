# SPDX-License-Identifier: Apache-2.0
# The page that `html` writes, in headless Chromium: nothing of a hostile mail runs or leaves, and
# the same page without its guards shows that the test would see it.
# usage: cli_html_test.py PROGRAM
import base64, html, json, os, pathlib, re, shutil, socket, subprocess, sys, tempfile, threading, time, unittest

TOOL = str(pathlib.Path(sys.argv.pop(1)).resolve())
CHROMIUM = shutil.which("chromium") or shutil.which("chromium-browser")
PNG = base64.b64decode("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==")

REMOTE = "http://canary.example"
COVER = 'style="position:fixed;inset:0;width:100%;height:100%"'  # wherever one clicks
# Each in a message of its own, so that none hides what another does.
SNIPPETS = [
    f'<base href="{REMOTE}/base/"><img src="relative">',
    f'<meta http-equiv="refresh" content="0;url={REMOTE}/refresh">',
    f'<link rel="stylesheet" href="{REMOTE}/css"><LINK rel=preconnect href="{REMOTE}"><link/rel=dns-prefetch href="{REMOTE}">',
    f"<style>@import url({REMOTE}/import); body {{ background: url({REMOTE}/background) }}</style>",
    f"<style>@font-face {{ font-family: f; src: url({REMOTE}/font) }} p {{ font-family: f }}</style>",
    """<script>console.log("RAN")</script><body onload="console.log('RAN')">""",
    f"""<img src="cid:logo@example.org" alt="logo"><img src="{REMOTE}/img" onerror="console.log('RAN')">""",
    f'<img src="cid:svg@example.org"><object data="cid:svg@example.org"></object><embed src="{REMOTE}/embed">',
    f"""<iframe src="{REMOTE}/frame"></iframe><iframe src="javascript:console.log('RAN')"></iframe>""",
    f"""<iframe srcdoc="<link rel=preconnect href={REMOTE}><script>console.log('RAN')</script>"></iframe>""",
    f'<video poster="{REMOTE}/poster" src="{REMOTE}/video" autoplay></video>',
    f"""<svg onload="console.log('RAN')"><image href="{REMOTE}/svg"/><script>console.log('RAN')</script></svg>""",
    f"""<form action="{REMOTE}/form"><input type="image" src="{REMOTE}/input" autofocus onfocus="console.log('RAN')"></form>""",
    """"></iframe><script>console.log("RAN")</script>&quot;&gt;&lt;/iframe&gt;&lt;script&gt;console.log('RAN')&lt;/script&gt;""",
    f'<a {COVER} href="{REMOTE}/self">x</a>',
    f'<a {COVER} href="{REMOTE}/top" ping="{REMOTE}/ping" target="_top">x</a>',
    f'<a {COVER} href="{REMOTE}/blank" target="_blank">x</a>',
    f"""<a {COVER} href="javascript:console.log('RAN')">x</a>""",
    f'<svg {COVER}><A\n{COVER} xlink:href="{REMOTE}/a" href="{REMOTE}/a"><rect width="999" height="999"/></A></svg>',
    f'<img usemap="#m" {COVER} src="cid:logo@example.org"><map name="m"><area/shape="default" href="{REMOTE}/area"></map>',
    f'<form action="{REMOTE}/send" target="_top"><button {COVER}>x</button></form>',
]
BREAKOUT = '"></title></style></pre></iframe><script>console.log("RAN")</script><img src=http://canary.example/h>'
SVG = f'<svg xmlns="http://www.w3.org/2000/svg" onload="console.log(1)"><script>console.log("RAN")</script><image href="{REMOTE}/in-svg"/></svg>'

PICTURES = f"""--c
Content-Type: application/octet-stream
Content-ID: <logo@example.org>
Content-Transfer-Encoding: base64

{base64.b64encode(PNG).decode()}
--c
Content-Type: image/svg+xml
Content-ID: <svg@example.org>

{SVG}
--c--"""
PARTS = "\n".join(f"""--b
Content-Type: message/rfc822

Content-Type: multipart/related; boundary=c

--c
Content-Type: text/html; charset=utf-8

<p>visible</p>{snippet}
{PICTURES}""" for snippet in SNIPPETS)

HOSTILE = f"""From: {BREAKOUT} <a@example.org>
Subject: {BREAKOUT}
Date: Fri, 21 Nov 1997 09:55:06 -0600
X-{BREAKOUT.split()[0]}: {BREAKOUT}
Content-Type: multipart/mixed; boundary=b

--b
Content-Type: text/plain

{BREAKOUT}
{PARTS}
--b
Content-Type: text/html
Content-Disposition: attachment; filename="{BREAKOUT.replace('"', '')}.html"

{" ".join(SNIPPETS)}
--b--
""".replace("\n", "\r\n").encode()


def page_of(mail, *options):
    done = subprocess.run([TOOL, "html", *options, "-"], input=mail, capture_output=True)
    assert done.returncode == 0 and not done.stderr, done.stderr
    return done.stdout.decode()


class Canary:
    """Counts whoever connects."""

    def __enter__(self):
        self.connections = 0
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.port = self.socket.getsockname()[1]
        threading.Thread(target=self.count, daemon=True).start()
        return self

    def count(self):
        while True:
            try:
                self.socket.accept()[0].close()
            except OSError:
                return
            self.connections += 1

    def __exit__(self, *_):
        self.socket.close()


class Browser:
    """Chromium, spoken to over its debugging pipe."""

    def __init__(self, folder, port, *more):
        to, self.write_end = os.pipe()
        self.read_end, back = os.pipe()

        def descriptors():
            a, b = os.dup(to), os.dup(back)
            os.dup2(a, 3)
            os.dup2(b, 4)
        self.process = subprocess.Popen(
            [CHROMIUM, "--headless=new", "--no-sandbox", "--disable-gpu", "--remote-debugging-pipe",
             "--disable-background-networking", "--disable-component-update", "--no-first-run",
             f"--host-resolver-rules=MAP canary.example 127.0.0.1:{port}", f"--user-data-dir={folder}/profile",
             f"--log-net-log={folder}/net.json", *more],
            preexec_fn=descriptors, close_fds=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to)
        os.close(back)
        self.events, self.rest, self.number = [], b"", 0
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = None
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]

    session = None

    def receive(self):
        while b"\0" not in self.rest:
            piece = os.read(self.read_end, 1 << 20)
            if not piece:
                raise EOFError("Chromium ended")
            self.rest += piece
        line, self.rest = self.rest.split(b"\0", 1)
        return json.loads(line)

    def call(self, method, **params):
        self.number += 1
        message = {"id": self.number, "method": method, "params": params}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.write_end, json.dumps(message).encode() + b"\0")
        while True:
            got = self.receive()
            if got.get("id") == self.number:
                assert "error" not in got, got
                return got["result"]
            self.events.append(got)

    def wait(self, seconds, isEnough=lambda: False):
        end = time.monotonic() + seconds
        while time.monotonic() < end and not isEnough():
            self.call("Runtime.evaluate", expression="1")
            time.sleep(0.2)

    def show(self, path):
        for domain in "Page", "Runtime", "Network", "Log":
            self.call(domain + ".enable")
        self.call("Page.navigate", url=path.as_uri())
        self.wait(60, lambda: any(e.get("method") == "Page.loadEventFired" for e in self.events))
        self.wait(2)

    def click_frames(self):
        nodes = self.call("DOM.querySelectorAll", nodeId=self.call("DOM.getDocument")["root"]["nodeId"], selector="iframe")
        for node in nodes["nodeIds"]:
            self.call("DOM.scrollIntoViewIfNeeded", nodeId=node)
            x, y = self.call("DOM.getBoxModel", nodeId=node)["model"]["content"][:2]
            for event in "mousePressed", "mouseReleased":
                self.call("Input.dispatchMouseEvent", type=event, x=x + 200, y=y + 100, button="left", clickCount=1)
            time.sleep(0.1)

    def pages(self):
        pages = [t["url"] for t in self.call("Target.getTargets")["targetInfos"] if t["type"] == "page"]
        return [url for url in pages if not url.startswith("chrome:")]

    def ran(self):
        return [e for e in self.events if e.get("method") == "Runtime.consoleAPICalled"]

    def frames(self):
        """What is seen in each frame: sandboxed ones are targets of their own."""
        targets = self.call("Target.getTargets")["targetInfos"]
        page, seen = self.session, []
        for target in targets:
            if target["type"] == "iframe":
                self.session = None
                self.session = self.call("Target.attachToTarget", targetId=target["targetId"], flatten=True)["sessionId"]
                nodes = self.call("Accessibility.getFullAXTree")["nodes"]
                seen.append([n["name"]["value"] for n in nodes if n.get("role", {}).get("value") == "StaticText"])
                self.session = page
        return seen

    def screenshot(self, path, width, dark):  # frames out of sight are not painted
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=1600, deviceScaleFactor=1, mobile=False)
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])
        shot = self.call("Page.captureScreenshot")
        path.write_bytes(base64.b64decode(shot["data"]))

    def close(self):
        self.session = None
        try:
            self.call("Browser.close")
        except (EOFError, OSError):
            pass
        self.process.wait(30)
        os.close(self.write_end)
        os.close(self.read_end)


class Page(unittest.TestCase):
    def test_what_the_page_holds(self):
        page = page_of(HOSTILE)
        self.assertNotIn("<script", page)
        self.assertEqual(page.count("<iframe sandbox=\"\""), page.count("<iframe"))
        self.assertIn('<html lang="en">', page)
        self.assertIn("data:image/png;base64," + base64.b64encode(PNG).decode(), page)
        links = re.findall(r'<a download="[^"<>]*" href="([^"]*)"', page)
        self.assertEqual(len(links), 3 * len(SNIPPETS) + 1)
        for link in links:
            self.assertTrue(link.startswith("data:application/octet-stream;base64,"))
        levels = [int(level) for level in re.findall(r"<h(\d)", page)]
        self.assertEqual(levels[0], 1)
        self.assertTrue(all(b - a <= 1 for a, b in zip(levels, levels[1:])))

    def test_a_picture_that_is_named_without_end(self):
        mail = (b"Content-Type: multipart/related; boundary=b\n\n--b\nContent-Type: text/html\n\n"
                + b'<img src="cid:a">' * 20000 + b"\n--b\nContent-Type: image/png\nContent-ID: <a>\n"
                b"Content-Transfer-Encoding: base64\n\n" + base64.encodebytes(PNG + bytes(100000)) + b"--b--\n")
        self.assertLess(len(page_of(mail)), 20 * len(mail))

    def look(self, page, clicked, shots=None):
        with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as name, Canary() as canary:
            folder = pathlib.Path(name)
            (folder / "page.html").write_text(page)
            browser = Browser(folder, canary.port)
            try:
                browser.show(folder / "page.html")
                frames = browser.frames()
                if clicked:
                    browser.click_frames()
                    browser.wait(1)
                    self.assertEqual(browser.pages(), [(folder / "page.html").as_uri()])
                for width, dark in ([(1000, False), (1000, True), (390, False)] if shots else []):
                    browser.screenshot(pathlib.Path(shots) / f"{width}-{'dark' if dark else 'light'}.png", width, dark)
            finally:
                browser.close()
            return canary.connections, browser.ran(), frames

    @unittest.skipUnless(CHROMIUM, "skipped: no chromium here")
    def test_nothing_leaves_and_nothing_runs(self):
        page = page_of(HOSTILE)
        connections, ran, frames = self.look(page, True, os.environ.get("SCREENSHOTS"))
        self.assertEqual((connections, ran), (0, []))
        self.assertEqual(["visible" in frame for frame in frames], [True] * len(SNIPPETS))
        bare = page.replace('sandbox=""', "").replace("default-src 'none'", "").replace("img-src data:", "")
        bare = re.sub(r"<meta http-equiv=\"Content-Security-Policy\"[^>]*>", "", bare)
        bare = bare.replace("&lt;meta http-equiv=&quot;Content-Security-Policy", "&lt;meta x=&quot;")
        connections, ran, _ = self.look(bare, False)
        self.assertGreater(connections, 0)
        self.assertGreater(len(ran), 0)


unittest.main(verbosity=2)
