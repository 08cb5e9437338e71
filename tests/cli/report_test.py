"""`lomarind report` as people meet it: the page opened in headless Chromium,
the wiki's Markdown read back, and runs that are cut short.

Every expectation is taken from the program's own JSON answers, so the report
must show exactly their rows. LOMARIND_BINARY names the program; the page's
screenshot is left in LOMARIND_REPORT_ARTIFACTS for a person to look at.
"""
import html.parser
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import time

import pytest

LOMARIND = os.environ.get("LOMARIND_BINARY", "lomarind")
ARTIFACTS = pathlib.Path(os.environ.get("LOMARIND_REPORT_ARTIFACTS", "report_test"))
SINCE = "1 year"
DAY = 86400

# Names a page must show as text, never as markup.
HOSTILE = [b'<img src=x onerror=alert(1)>.c', b'"><script>alert(1)<', b"a|b*c*_d_.c",
           b"new\nline.c", b"bad\xffbyte.c", b"it's & co.c"]

# What the page is made of; anything else was made from a name.
PAGE_TAGS = {"html", "head", "meta", "title", "style", "body", "main", "header", "h1", "h2",
             "span", "p", "dl", "div", "dt", "dd", "small", "section", "svg", "g", "rect",
             "text", "clippath", "line", "circle", "path", "table", "thead", "tbody", "tr", "th",
             "td", "ul", "li", "b", "footer", "ol"}


def run(args, cwd, **kwargs):
    env = {k: v for k, v in os.environ.items() if not k.startswith("GIT_")}
    env.update(HOME=str(cwd), XDG_CONFIG_HOME=str(cwd), GIT_CONFIG_NOSYSTEM="1", NO_COLOR="1")
    env.update(kwargs.pop("env", {}))
    return subprocess.run(args, cwd=cwd, env=env, capture_output=True, check=True, timeout=120,
                          **kwargs)


def commit(root, message, days_ago):
    when = f"@{int(time.time()) - days_ago * DAY} +0000"
    run(["git", "add", "-A"], root)
    run(["git", "-c", "user.name=t", "-c", "user.email=t@example.com", "commit", "-qm", message],
        root, env={"GIT_AUTHOR_DATE": when, "GIT_COMMITTER_DATE": when})


def write(root, path, text):
    target = pathlib.Path(os.fsdecode(root)) / os.fsdecode(path)
    target.parent.mkdir(parents=True, exist_ok=True)
    target.write_text(text)


@pytest.fixture(scope="module")
def repo(tmp_path_factory):
    root = tmp_path_factory.mktemp("repo")
    run(["git", "init", "-q", "-b", "main"], root)
    write(root, "web/package.json", "{}\n")
    write(root, "web/app.c", "int main(void) { return 0; }\n")
    write(root, "lib/util.c", "int add(int a, int b) { return a + b; }\n")
    write(root, "lib/old_name.c", "int twice(int a) { return 2 * a; }\n")
    commit(root, "before the period", 400)
    for name in HOSTILE:
        write(root, b"lib/" + name, "int x;\n")
    commit(root, "first", 40)
    # A hostile name changed with util.c five times: a coupled pair.
    for day in (39, 38, 37, 36, 35):
        write(root, b"lib/" + HOSTILE[0], f"int x = {day};\n")
        write(root, "lib/util.c", f"int add(int a, int b) {{ return a + b + {day}; }}\n")
        commit(root, f"together {day}", day)
    for day in (30, 20, 10):
        write(root, "web/app.c", f"int main(void) {{ return {day}; }}\nint more{day}(void) {{ return 1; }}\n")
        commit(root, f"web {day}", day)
    run(["git", "mv", "lib/old_name.c", "lib/new_name.c"], root)
    write(root, "lib/util.c", "int add(int a, int b) {\n  return a + b + 0;\n}\n")
    commit(root, "rename", 3)
    run([LOMARIND, "index"], root)
    return root


def answer(repo, *args):
    return json.loads(run([LOMARIND, *args, "--json"], repo).stdout)


def shown(name):
    """A name as the page shows it: line breaks and undecodable bytes escaped."""
    name = name.replace("\n", "\\n")
    return re.sub("[\udc80-\udcff]", lambda m: f"\\udc{ord(m[0]) - 0xDC00:02x}", name)


class Node(html.parser.HTMLParser):
    """An element of the dumped DOM; the document itself parses the text."""
    VOID = {"meta", "br", "img", "input", "link", "hr", "source", "area", "base", "col", "wbr"}

    def __init__(self, tag="#document", attrs=(), text=None):
        super().__init__()
        self.tag, self.attrs, self.parts, self.tags = tag, dict(attrs), [], []
        if text is not None:
            self.stack = [self]
            self.feed(text)

    def handle_starttag(self, tag, attrs):
        node = Node(tag, attrs)
        self.tags.append((tag, [name for name, _ in attrs]))
        self.stack[-1].parts.append(node)
        if tag not in self.VOID:
            self.stack.append(node)

    def handle_endtag(self, tag):
        while len(self.stack) > 1 and self.stack.pop().tag != tag:
            pass

    def handle_data(self, data):
        self.stack[-1].parts.append(data)

    def text(self):
        return "".join(p if isinstance(p, str) else p.text() for p in self.parts)

    def find(self, tag=None, cls=None, id_=None):
        for child in (p for p in self.parts if isinstance(p, Node)):
            if ((tag is None or child.tag == tag) and id_ in (None, child.attrs.get("id"))
                    and (cls is None or cls in (child.attrs.get("class") or "").split())):
                yield child
            yield from child.find(tag, cls, id_)


def chromium():
    for name in ("chromium", "chromium-browser"):
        if shutil.which(name):
            return name
    pytest.fail("chromium is not installed; scripts/install-deps.sh installs it")


def open_in_browser(page, screenshot):
    browser = [chromium(), "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run",
               "--user-data-dir=" + str(page.parent / "chromium-profile")]
    url = page.resolve().as_uri()
    subprocess.run([*browser, f"--screenshot={screenshot}", "--window-size=1280,2000", url],
                   capture_output=True, timeout=90, check=True)
    dom = subprocess.run([*browser, "--dump-dom", url], capture_output=True, timeout=90,
                         check=True)
    return dom.stdout.decode()


def test_page_in_a_browser_shows_every_hotspot_and_no_name_as_markup(repo):
    ARTIFACTS.mkdir(parents=True, exist_ok=True)
    page = ARTIFACTS / "report.html"
    written = run([LOMARIND, "report", "--since", SINCE, "--output", str(page)], repo)
    assert written.stdout.decode().strip() == str(page.resolve())
    files = answer(repo, "hotspots", "--since", SINCE, "--limit", "50")
    components = answer(repo, "hotspots", "--since", SINCE, "--group-by", "component")

    dom = Node(text=open_in_browser(page, ARTIFACTS / "report.png"))

    assert {tag for tag, _ in dom.tags} <= PAGE_TAGS, dom.tags
    assert not [name for _, names in dom.tags for name in names if name.startswith("on")]
    header = next(dom.find(id_="header")).text()
    assert f"Commits read{files['commit_count']}" in header
    assert f"Branch{files['branch']}" in header
    rows = [[td.text() for td in tr.find("td")]
            for tr in next(dom.find(id_="files")).find("tr", cls="hotspot")]
    assert rows == [[shown(r["name"]), str(r["commits"]), signed(r["additions"], "+"),
                     signed(r["deletions"], "-"), r.get("component") or "-",
                     f"{r['risk_score']:.2f}"] for r in files["hotspots"]]
    assert len(rows) > len(HOSTILE)
    regions = [next(g.find("title")).text().split(":")[0]
               for g in next(dom.find(id_="map")).find("g", cls="region")]
    assert sorted(regions) == sorted(r["name"] for r in components["hotspots"])
    boxes = list(next(dom.find(id_="map")).find("g", cls="file"))
    assert len(boxes) == len(files["hotspots"])
    assert all(next(box.find("title")).text().split("\n")[0] in {shown(r["name"]) for r in files["hotspots"]}
               for box in boxes)
    # The hottest files always carry a label: their name, or their rank in the key.
    hottest = {shown(r["name"]) for r in files["hotspots"][:10]}
    labelled = {next(box.find("title")).text().split("\n")[0] for box in boxes
                if list(box.find("text"))}
    assert hottest <= labelled
    key = [li.text() for li in next(dom.find(id_="map")).find("li")]
    assert [k.rsplit(" ", 2)[0] for k in key] == [shown(r["name"]) for r in files["hotspots"][:10]]

    pairs = answer(repo, "coupling", "--since", SINCE, "--limit", "30")["pairs"]
    section = next(dom.find(id_="coupling"))
    assert [[td.text() for td in tr.find("td")] for tr in section.find("tr", cls="pair")] == \
        coupling_rows(pairs)
    assert [shown(p["path"]) for p in pairs] == [shown(os.fsdecode(b"lib/" + HOSTILE[0]))]
    chart = next(section.find("svg", cls="coupling"))
    assert len(list(chart.find("g", cls="arc"))) == len(pairs)
    nodes = {next(g.find("title")).text().split(":")[0] for g in chart.find("g", cls="node")}
    assert nodes == {shown(p[key]) for p in pairs for key in ("path", "coupled_path")}


def coupling_rows(pairs):
    """The coupling table's cells as the report shows the answer's pairs."""
    return [[shown(p["path"]), shown(p["coupled_path"]), f"{p['degree']:.2f}",
             str(p["shared_commits"]), f"{p['commits']} / {p['coupled_commits']}"] for p in pairs]


def signed(count, sign):
    """A line count as the tables show it: signed, but zero bare."""
    return f"{sign}{count}" if count else "0"


def markdown_tables(text):
    """Each '## ' section's table rows, cells unescaped."""
    tables, title = {}, None
    for line in text.splitlines():
        if line.startswith("## "):
            title = line[3:]
            tables[title] = []
        elif title and line.startswith("| ") and not line.startswith("|---"):
            cells = re.split(r"(?<!\\) \| ", line[2:-2])
            tables[title].append([re.sub(r"\\(.)", r"\1", cell) for cell in cells])
    return {name: rows[1:] for name, rows in tables.items()}


def test_markdown_tables_read_back_as_the_json_answers(repo, tmp_path):
    out = tmp_path / "wiki.md"
    run([LOMARIND, "report", "--since", SINCE, "--format", "markdown", "--output", str(out)], repo)
    tables = markdown_tables(out.read_text())
    files = answer(repo, "hotspots", "--since", SINCE, "--limit", "50")["hotspots"]
    components = answer(repo, "hotspots", "--since", SINCE, "--group-by", "component")["hotspots"]
    recent = answer(repo, "recent", "--since", SINCE, "--limit", "30", "--symbols")["files"]
    pairs = answer(repo, "coupling", "--since", SINCE, "--limit", "30")["pairs"]

    assert tables["File hotspots"] == [
        [shown(r["name"]), str(r["commits"]), signed(r["additions"], "+"), signed(r["deletions"], "-"),
         r.get("component") or "", f"{r['risk_score']:.2f}"] for r in files]
    assert tables["Component hotspots"] == [
        [r["name"], str(r["commits"]), signed(r["additions"], "+"), signed(r["deletions"], "-"),
         str(r["files"]), f"{r['risk_score']:.2f}"] for r in components]
    assert tables["Recent changes (UTC)"] == [
        [shown(r["path"]) + (f" (from {shown(r['old_path'])})" if "old_path" in r else ""),
         r["status"], str(r["commits"]), signed(r["additions"], "+"), signed(r["deletions"], "-"),
         r["last_changed"][:10] + " " + r["last_changed"][11:16],
         "; ".join(f"{s['kind']} {s['name']} (lines {s['line']}-{s['end_line']})"
                   for s in r["symbols"])] for r in recent]
    assert any(r["symbols"] for r in recent) and any("old_path" in r for r in recent)
    assert tables["Change coupling"] == coupling_rows(pairs) and pairs
    assert sum(int(count) for _, count in tables["Commits per week"]) == 10


def test_a_run_cut_short_leaves_the_old_file_or_the_whole_new_one(repo, tmp_path):
    out = tmp_path / "report.html"
    run([LOMARIND, "report", "--since", SINCE, "--output", str(out)], repo)
    whole = out.read_bytes()
    for i, delay in enumerate([0, 0.002, 0.005, 0.01, 0.02, 0.03, 0.05, 0.08]):
        fresh = tmp_path / f"fresh{i}.html"
        out.write_bytes(b"the old page")
        out.chmod(0o600)
        for target in (out, fresh):
            child = subprocess.Popen([LOMARIND, "report", "--since", SINCE, "--output",
                                      str(target)], cwd=repo, stdout=subprocess.DEVNULL,
                                     stderr=subprocess.DEVNULL)
            time.sleep(delay)
            child.send_signal(signal.SIGKILL if i % 2 else signal.SIGINT)
            child.wait(timeout=60)
        assert out.read_bytes() in (b"the old page", whole)
        assert out.stat().st_mode & 0o777 == 0o600
        assert not fresh.exists() or fresh.read_bytes() == whole
        if not i % 2:  # Ctrl-C waits for the temporary file to be renamed or removed
            assert not list(tmp_path.glob(f".fresh{i}.html.*.tmp"))
    run([LOMARIND, "report", "--since", SINCE, "--output", str(out)], repo)
    assert out.read_bytes() == whole
