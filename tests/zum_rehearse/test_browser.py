"""The page in a real browser."""

import os
import pathlib

from browser import Browser
from products import MARKED, MARKED_NAME, ORDINARY, key_name, product
from rehearsal_cases import RehearsalCase, is_sanitized, only_on
from registry_rule import SZ, sz

HOSTILE = "<script>document.title='broken'</script><img src=x onerror=document.title='broken'>\u202egnp\x1b\u2066"
LONG = "C:\\" + "x" * 32000
SHOWN = "return document.getElementById('shown').textContent"
ROWS = "return Array.from(document.querySelectorAll('tbody tr')).filter(r => !r.hidden).map(r => r.cells[{}].textContent)"


@only_on("native")
class InBrowser(RehearsalCase):
    def setUp(self):
        super().setUp()
        marked = {"LocalPackageNotExist": (SZ, sz(LONG)), "DisplayName": (SZ, sz(HOSTILE)),
                  "DisplayVersion": (SZ, sz("10.0"))}
        self.export(product("26F1C3B745A9D0E4C812D5E6F708192A", marked, MARKED_NAME), "beta/x.reg")
        second = MARKED | {"DisplayName": (SZ, sz("ZUM Workstation")), "DisplayVersion": (SZ, sz("9.1"))}
        self.export(product(key_name(2), second, MARKED_NAME), "alpha/x.reg")
        self.export(product(key_name(3), ORDINARY, {}), "gamma/x.reg")
        (self.machine.folder / "torn").mkdir()
        self.file = self.machine.folder / "page.html"
        self.call("--json", "--html", self.file, "beta", "alpha", "gamma", "torn")
        self.browser = Browser()
        self.addCleanup(self.browser.close)
        # The browser's own first page asks for much.
        self.browser.ask("POST", "/url", {"url": "about:blank"})
        self.browser.log("performance")
        self.browser.open(self.file)

    def column(self, number):
        return self.browser.run(ROWS.replace("{}", str(number)))

    def test_shows_sorts_and_filters_and_asks_nothing(self):
        self.assertEqual(self.column(0), ["beta", "beta", "alpha", "alpha", "gamma", "torn"])
        self.browser.click("thead th:nth-child(1) button")
        self.assertEqual(self.column(0), ["alpha", "alpha", "beta", "beta", "gamma", "torn"])
        self.browser.click("thead th:nth-child(1) button")
        self.assertEqual(self.column(0), ["torn", "gamma", "beta", "beta", "alpha", "alpha"])
        self.browser.click("thead th:nth-child(5) button")
        versions = [version for version in self.column(4) if version]
        self.assertEqual(versions, ["9.1", "10.0"])  # by number, not by character
        self.browser.type("#filter", "workstation")
        self.assertEqual(self.browser.wait_for(SHOWN, "1 of 6 rows"), "1 of 6 rows")
        self.assertEqual(self.column(0), ["alpha"])
        self.browser.type("#filter", " ")
        self.assertEqual(self.browser.wait_for(SHOWN, "6 of 6 rows"), "6 of 6 rows")
        self.browser.run("var s = document.getElementById('status'); s.value = '2'; "
                         "s.dispatchEvent(new Event('change'))")
        self.assertEqual(self.column(0), ["torn"])
        self.assertEqual(self.browser.requests(), [self.file.as_uri()])
        self.assertEqual(self.browser.log("browser"), [])
        if folder := os.environ.get("ZUM_SCREENSHOTS"):
            self.browser.run("document.getElementById('status').value = ''; "
                             "document.getElementById('status').dispatchEvent(new Event('change'))")
            self.browser.screenshot(pathlib.Path(folder) / "page.png")

    def test_hostile_values_are_text(self):
        self.assertEqual(self.browser.run("return document.title"), "Rehearsal of /unblock")
        self.assertEqual(self.browser.run("return [document.scripts.length, document.images.length]"), [1, 0])
        shown = HOSTILE.replace("\u202e", "\\u{202e}").replace("\x1b", "\\u{1b}").replace("\u2066", "\\u{2066}")
        self.assertEqual(self.column(3)[1], shown)
        self.assertIn(f'"{LONG}"', self.column(6)[1])
        # Folded away: the row stays a row.
        height = self.browser.run("return document.querySelectorAll('tbody tr')[1].getBoundingClientRect().height")
        self.assertLess(height, 400)
        wide = "return document.documentElement.scrollWidth - document.documentElement.clientWidth"
        self.assertEqual(self.browser.run(wide), 0)

    def test_a_planted_script_is_refused_by_the_policy(self):
        text = self.file.read_text(encoding="utf-8")
        self.file.write_text(text.replace("</body>", "<script>document.title='planted'</script></body>"),
                             encoding="utf-8")
        self.browser.open(self.file)
        self.assertEqual(self.browser.run("return document.title"), "Rehearsal of /unblock")
        self.assertIn("Content Security Policy", "".join(entry["message"] for entry in self.browser.log("browser")))


@only_on("native")
class ManyRows(RehearsalCase):
    """Several hundred machines, in a browser whose scripts have so little of a stack that no call takes as many
    arguments as there are rows: their number is bounded by the browser's memory alone."""

    MACHINES = 600
    PRODUCTS = 19

    def setUp(self):
        if is_sanitized():
            self.skipTest("the page is that of the plain build, and takes a minute of a processor")
        super().setUp()
        branch = {}
        for number in range(self.PRODUCTS):
            values = MARKED | {"DisplayName": (SZ, sz(f"Product <{number}>")), "DisplayVersion": (SZ, sz(f"1.{number}"))}
            branch |= product(key_name(number), values, MARKED_NAME)
        self.names = [f"pc-{number}" for number in range(self.MACHINES)]
        export = self.export(branch, "files/x.reg")
        for name in self.names:
            (self.machine.folder / name).mkdir()
            (self.machine.folder / name / "x.reg").symlink_to(export)
        (self.machine.folder / "list").write_text("\n".join(self.names))
        file = self.machine.folder / "page.html"
        self.assertEqual(self.call("--csv", "--html", file, "--folders-from", "list").returncode, 1)
        self.browser = Browser("--js-flags=--stack-size=80")
        self.addCleanup(self.browser.close)
        self.browser.open(file)

    def columns(self):
        return list(zip(*(self.browser.run(ROWS.replace("{}", str(number))) for number in (0, 4))))

    def test_are_sorted_and_filtered(self):
        versions = ["", *(f"1.{number}" for number in range(self.PRODUCTS))]
        rows = [(name, version) for name in self.names for version in versions]
        self.assertEqual(self.columns(), rows)
        limit = "try { Math.max.apply(null, new Array(arguments[0])); } catch (error) { return error.name; }"
        self.assertEqual(self.browser.run(limit, len(rows)), "RangeError")

        self.browser.click("thead th:nth-child(5) button")
        rising = [(name, version) for version in versions for name in self.names]
        self.assertEqual(self.columns(), rising)
        self.browser.click("thead th:nth-child(5) button")
        falling = [(name, version) for version in reversed(versions) for name in self.names]
        self.assertEqual(self.columns(), falling)

        self.browser.type("#filter", "product <7>")
        told = f"{self.MACHINES} of {len(rows)} rows"
        self.assertEqual(self.browser.wait_for(SHOWN, told), told)
        self.browser.click("thead th:nth-child(1) button")
        self.assertEqual(self.columns(), [(name, "1.7") for name in self.names])
        # What was filtered out has been sorted, too.
        self.browser.type("#filter", " ")
        told = f"{len(rows)} of {len(rows)} rows"
        self.assertEqual(self.browser.wait_for(SHOWN, told), told)
        self.assertEqual(self.columns(), [(name, version) for name in self.names for version in reversed(versions)])
        self.assertEqual(self.browser.log("browser"), [])

    def test_off_the_screen_are_not_laid_out(self):
        visible = ("return document.querySelectorAll('tbody')[arguments[0]].rows[1].checkVisibility("
                   "{contentVisibilityAuto: true})")
        self.assertEqual([self.browser.run(visible, 0), self.browser.run(visible, self.MACHINES - 1)], [True, False])
        self.browser.run("document.querySelectorAll('tbody')[arguments[0]].scrollIntoView()", self.MACHINES - 1)
        self.assertTrue(self.browser.wait_for(visible.replace("arguments[0]", str(self.MACHINES - 1)), True))
