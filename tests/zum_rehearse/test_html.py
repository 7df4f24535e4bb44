"""The page, as its text: well formed, escaped, and bound to its own style and script."""

import base64
import hashlib
import html.parser
import re

from products import MARKED, MARKED_NAME, ORDINARY, key_name, product
from rehearsal_cases import NATIVE, RehearsalCase, only_on, unescaped_controls
from registry_rule import SZ, sz

HOSTILE = "<script>alert(1)</script>\u202e'\"&amp;\x1b<img src=x onerror=alert(2)>"
VOID = {"meta", "br", "input", "img", "link"}


class Page(html.parser.HTMLParser):
    """The cells of the table's rows as text, and whatever a hostile value could have brought in."""

    def __init__(self, text):
        super().__init__()
        self.open, self.rows, self.tags, self.attributes = [], [], set(), []
        self.parts = {"style": "", "script": ""}
        self.policy = None
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attributes):
        self.tags.add(tag)
        self.attributes += attributes
        if dict(attributes).get("http-equiv"):
            self.policy = dict(attributes)["content"]
        if tag == "tr":
            self.rows.append([])
        if tag in ("td", "th"):
            self.rows[-1].append("")
        if tag not in VOID:
            self.open.append(tag)

    def handle_endtag(self, tag):
        assert self.open.pop() == tag, tag

    def handle_data(self, data):
        if self.open and self.open[-1] in self.parts:
            self.parts[self.open[-1]] += data
        elif "td" in self.open or "th" in self.open:
            self.rows[-1][-1] += data


class Html(RehearsalCase):
    def page(self, branch, *arguments):
        file = self.machine.folder / "page.html"
        path = file if NATIVE else self.machine.windows_path(file)
        self.rehearse(branch, f"--html={path}", *arguments)
        return file.read_text(encoding="utf-8")

    def test_tells_what_the_table_tells(self):
        text = self.page(product("26F1C3B745A9D0E4C812D5E6F708192A", MARKED, MARKED_NAME)
                         | product(key_name(2), ORDINARY, {}))
        status = 1 if NATIVE else 4  # on Windows the package is looked for
        self.assertIn(f"<p>1 machine; status of the whole: {status}</p>", text)
        page = Page(text)
        self.assertEqual(page.open, [])
        heading, machine, row = page.rows
        self.assertEqual(heading, ["Machine", "Status", "Product", "Name", "Version", "Verdict", "Values"])
        self.assertEqual(machine[5], "/unblock would print Completed; 1 of 2 products would change")
        self.assertEqual(row[2:4], ["{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}", "Something"])
        self.assertIn("would be repaired", row[5])
        self.assertIn('"C:\\Windows\\Installer\\1a2b.msi"', row[6])

    def test_hostile_values_stay_text(self):
        plain = self.page(product(key_name(1), MARKED, {}))
        text = self.page(product(HOSTILE.replace("/", "|"), {"LocalPackageNotExist": (SZ, sz(HOSTILE * 30)),
                                                             "DisplayName": (SZ, sz(HOSTILE))}, {}))
        self.assertEqual(unescaped_controls(text), [])
        page = Page(text)
        self.assertEqual(page.open, [])
        self.assertEqual(page.tags, Page(plain).tags | {"details", "summary", "pre"})
        self.assertEqual([value for name, value in page.attributes if name.startswith("on")], [])
        shown = HOSTILE.replace("\u202e", "\\u{202e}").replace("\x1b", "\\u{1b}")
        self.assertEqual(page.rows[2][3], shown)
        self.assertIn(shown * 30, page.rows[2][6])

    def test_policy_knows_its_own_parts_and_nothing_else(self):
        page = Page(self.page({}))
        hashes = {name: base64.b64encode(hashlib.sha256(part.encode("utf-8")).digest()).decode("ascii")
                  for name, part in page.parts.items()}
        self.assertEqual(page.policy, f"default-src 'none'; style-src 'sha256-{hashes['style']}'; script-src "
                                      f"'sha256-{hashes['script']}'; base-uri 'none'; form-action 'none'")

    def test_asks_nothing_of_anybody(self):
        text = self.page(product(key_name(1), MARKED, {}))
        self.assertEqual(re.findall(r"https?:|//[a-z]|\burl\(|@import|\bsrc=|\bhref=", text), [])
        self.assertEqual([name for name, _ in Page(text).attributes if name == "style"], [])

    @only_on("native")
    def test_has_all_machines(self):
        self.export(product(key_name(1), MARKED, {}), "one/x.reg")
        (self.machine.folder / "<b>").mkdir()
        done = self.call("--json", "--html", "page.html", "one", "<b>")
        self.assertEqual(done.returncode, 2)
        text = (self.machine.folder / "page.html").read_text(encoding="utf-8")
        self.assertIn("<p>2 machines; status of the whole: 2</p>", text)
        page = Page(text)
        self.assertEqual([row[:2] for row in page.rows[1:]], [["one", "1"], ["one", "1"], ["<b>", "2"]])
        self.assertIn("not rehearsed: <b>: there is no export", page.rows[3][5])

    @only_on("native")
    def test_a_page_that_can_not_be_written_is_told(self):
        done = self.call(self.export({}), "--html", "absent/page.html")
        self.assertEqual((done.returncode, done.stderr),
                         (2, b"zum_rehearse: absent/page.html: the page can't be written\n"))
