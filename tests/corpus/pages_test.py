"""Pages into blocks, and blocks into pairs."""
import unittest

from corpus.align import align
from corpus.markup import blocks, parse_html
from corpus.sources import descriptions, gnome_help, libreoffice_help, manuals


def texts(found):
    return [b.text for b in found]


def html_texts(page):
    return texts(blocks(parse_html(page.encode())))


class Blocks(unittest.TestCase):
    def test_blocks(self):
        for page, expected in (
            ("<p>One <b>two</b><br>three</p><p>four", ["One two three", "four"]),
            ("<ul><li>a<li>b<ul><li>c</ul></ul>", ["a", "b", "c"]),
            ("<p>a &amp; b &lt;c&gt;</p>", ["a & b <c>"]),
            ('<script>if (a<b) "</p>"</script><p>x</p><!-- <p>y</p> -->', ["x"]),
            ('</div><p title="a > b">z</p></b>', ["z"]),
            ("<td>1<td>2<tr><td>3", ["1", "2", "3"]),
            ("a < b", ["a < b"]),
            ("<p>text<pre>code\n  more</pre>after</p>", ["text", "code more", "after"]),
        ):
            self.assertEqual(html_texts(page), expected, page)

    def test_encodings(self):
        for page in (
            '<meta charset="euc-kr"><p>한국어</p>'.encode("euc-kr"),
            '<meta charset="nonsense"><p>한국어</p>'.encode(),
            "<p>한국어</p>".encode(),
        ):
            self.assertEqual(texts(blocks(parse_html(page))), ["한국어"])
        self.assertEqual(texts(blocks(parse_html(b"<p>a\xc1b</p>"))), ["a\ufffdb"])

    def test_code_is_marked(self):
        self.assertEqual(
            [b.is_code for b in blocks(parse_html(b"<p>a</p><pre>b</pre>"))], [False, True]
        )

    def test_hostile_nesting_ends(self):
        for tag in ("<p>", "<div>", "<b>", "<li>", "<x>"):
            self.assertEqual(html_texts("before" + tag * 5000 + "</p>")[0], "before")


class HelpPages(unittest.TestCase):
    def test_default_variant_and_furniture(self):
        page = (
            '<head><title>t</title></head><div id="SearchFrame">find</div><div class="bascode">'
            "<p>Sub</p></div>"
            '<p id="a">Press <span class="switchinline"><span id="MAC" class="MAC">Command</span>'
            '<span id="default1">Ctrl</span></span>+C.</p><p class="code">x = 1</p>'
        )
        self.assertEqual(texts(libreoffice_help.page_blocks(page.encode())), ["Press Ctrl+C."])

    def test_pairing(self):
        def pairs(left, right):
            return libreoffice_help.pair_pages(
                *(libreoffice_help.page_blocks(p.encode()) for p in (left, right))
            )

        same = pairs('<p id="1">a</p><p>b</p>', '<p id="1">甲</p><p>乙</p>')
        self.assertEqual(same, [("a", "甲"), ("b", "乙")])
        sorted_otherwise = pairs('<p id="1">a</p><p id="2">b</p>', '<p id="2">乙</p><p id="1">甲</p>')
        self.assertEqual(sorted_otherwise, [("a", "甲"), ("b", "乙")])
        one_more = pairs('<p id="1">a</p><p>x</p><h1>c</h1>', '<p id="1">甲</p><h1>丙</h1>')
        self.assertEqual(one_more, [("a", "甲"), ("c", "丙")])

    def test_gnome(self):
        page = (
            '<!DOCTYPE page [<!ENTITY app "Files">]><page><info><credit><name>Jo</name>'
            "</credit><desc>Use &app;.</desc></info>"
            "<p>&copy; See <link xref='x'>this</link>. &odd;</p>"
            "<p>Choose <gui>File</gui> <gui>Open</gui> or <keyseq><key>Ctrl</key><key>O</key>"
            "</keyseq>.</p></page>"
        )
        self.assertEqual(
            texts(gnome_help.page_blocks(page)),
            ["Use Files.", "\u00a9 See this.", "Choose File \u2192 Open or Ctrl+O."],
        )


class Alignment(unittest.TestCase):
    ENGLISH = (
        "<h1>Chapter 1. Packages</h1><p>The apt command installs packages from an archive on "
        "the network.</p>"
        "<p>This paragraph has never been translated and talks about something else entirely, "
        "at length.</p>"
        "<pre>apt install foo</pre><p>Use dpkg to look at the 12 files of a package.</p>"
        "<p>Backups are important for every user of a computer.</p>"
    )
    CHINESE = (
        "<h1>第 1 章 软件包</h1><p>apt 命令从网络上的仓库安装软件包。</p><pre>apt install foo</pre>"
        "<p>用 dpkg 查看软件包的 12 个文件。</p><p>备份对每个计算机用户都很重要。</p>"
    )

    def test_gap_is_found(self):
        english, chinese = (manuals.page_blocks(p.encode()) for p in (self.ENGLISH, self.CHINESE))
        self.assertEqual(align(english, chinese, "zh"), [(0, 0), (1, 1), (4, 3), (5, 4)])
        pairs, unpaired = manuals.pair_pages(english, chinese, "zh")
        self.assertEqual(pairs[0], ("Packages", "软件包"))  # section numbers gone
        self.assertEqual(unpaired, [("en", english[2].text)])

    def test_nothing_in_common(self):
        english = manuals.page_blocks(b"<p>The apt command installs 12 packages.</p>")
        self.assertEqual(align(english, manuals.page_blocks(b"<pre>x</pre>"), "zh"), [])
        self.assertEqual(align(english, [], "zh"), [])


class Descriptions(unittest.TestCase):
    def test_paragraphs(self):
        text = (
            "Package: foo\nDescription-md5: 12\nDescription-zh_CN: 工具\n 第一\n 行。\n .\n 第二段。\n  "
            "* 列表\n\n"
            "Package: bar\nDescription-zh_CN: 没有摘要\n"
        )
        self.assertEqual(
            descriptions.read_descriptions(text), {"12": ("foo", ["工具", ["第一", "行。"], ["第二段。"]])}
        )


if __name__ == "__main__":
    unittest.main()
