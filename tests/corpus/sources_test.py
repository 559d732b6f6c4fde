"""Sources other than pages and catalogues: JSON messages, manual pages, the phrase book."""
import gzip
import json
import os
import tempfile
import unittest

from corpus.licences import licences_in
from corpus.phrasebook import Check
from corpus.sources import json_messages, manpages, phrasebook


class Files:
    """Stands for the cache of packages: {package: {path: bytes}}."""

    def __init__(self, packages):
        self.packages = packages

    def read(self, package, *patterns):
        roots = [p.partition("*")[0] for p in patterns]
        files = self.packages.get(package, {})
        return {p: d for p, d in files.items() if any(p.startswith(r) for r in roots)}


class JsonMessages(unittest.TestCase):
    def test_wiki_markup(self):
        for text, expected in (
            ("{{PLURAL:$1|one page|many pages}}", "many pages"),
            ("See [[Help:Start|the help]] or [[Home]]", "See the help or Home"),
            ("[https://example.org/ A site] of '''{{SITENAME}}'''", "A site of MediaWiki"),
            ("== Title ==", "Title"),
        ):
            self.assertEqual(json_messages.strip_wiki(text), expected)

    def test_messages_are_paired_by_key(self):
        def dump(messages):
            return json.dumps(messages).encode()

        root = "usr/share/mediawiki/languages/i18n/"
        english = dump({"@metadata": {}, "a": "Open\n\nClose", "b": "Save", "c": "Cut"})
        chinese = dump({"@metadata": {}, "a": "打开\n\n关闭", "c": "剪切", "d": "无"})
        files = Files({"mediawiki": {root + "en.json": english, root + "zh-hans.json": chinese}})
        found = list(json_messages.MEDIAWIKI.documents(files, "zh", "mediawiki"))
        self.assertEqual(
            [d.segments for d in found], [[("Open", "打开"), ("Close", "关闭"), ("Cut", "剪切")]]
        )


class Licences(unittest.TestCase):
    def test_copyright_files(self):
        fields = "Files: *\nLicense: GPL-2+ and MIT\n text\n\nFiles: b\nLicense: GPL-2+\n"
        self.assertEqual(licences_in(fields), ["GPL-2+", "MIT"])
        prose = "The text is in /usr/share/common-licenses/GPL-2."
        self.assertEqual(licences_in(prose), ["GPL-2"])
        self.assertEqual(licences_in("Nobody knows."), [])


class ManualPages(unittest.TestCase):
    def test_pages_are_aligned(self):
        english = ".TH CAT 1\n.SH NAME\ncat \\- print files\n.SH DESCRIPTION\nIt prints.\n"
        chinese = ".TH CAT 1\n.SH 名称\ncat \\- 打印文件\n.SH 描述\n它打印。\n"
        page, translated = (gzip.compress(t.encode()) for t in (english, chinese))
        files = Files(
            {
                "coreutils": {"usr/share/man/man1/cat.1.gz": page},
                "manpages-zh": {"usr/share/man/zh_CN/man1/cat.1.gz": translated},
            }
        )
        (document,) = manpages.SOURCE.documents(files, "zh", "1")
        self.assertEqual(document.name, "man:cat.1")
        self.assertIn(("It prints.", "它打印。"), document.segments)


class PhraseBook(unittest.TestCase):
    def test_table(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "food.tsv")

            def read(text):
                with open(path, "w", encoding="utf-8") as f:
                    f.write(text)
                return phrasebook.read_table(path)

            rows = read("# English\tChinese\nTea\t茶\n")
            self.assertEqual(rows, [{"en": "Tea", "zh": "茶"}])
            for text, place in (("Tea\t茶\n", ":1:"), ("# English\tChinese\na\tb\nc\n", ":3:")):
                with self.assertRaisesRegex(ValueError, place):
                    read(text)

    def test_check(self):
        head = "# English\tChinese\tJapanese\tKorean\n"
        good = head + "Good morning.\t早上好。\tおはよう。\t안녕하세요.\n"
        measured = (
            "# topic\tEnglish\tChinese\tJapanese\tKorean\nfood\tTea!\t茶！\tお茶！\t차!\n"
            "food\tThey all were drinking tea.\t我们一起喝了两杯茶。\t茶です。\t차예요.\n"
        )
        lexicon = "# English\tpart of speech\tChinese\tJapanese\tKorean\ntea\tnoun\t茶\tお茶\t차\n"
        for name, text, fault in (
            ("sentences/b.tsv", "", None),
            ("sentences/b.tsv", "Good morning!\t你早。\tおはよう。\t안녕.\n", "en is also at"),
            ("sentences/b.tsv", "Tea.\t喝茶。\t飲む。\t차 마셔요.\n", "en is measured on at"),
            ("sentences/b.tsv", "Some tea?\t喝吗？\t飲む？\t차.\n", "ko is measured on at"),
            (
                "sentences/b.tsv",
                "They all were drinking hot tea.\t他们喝热茶。\t熱いお茶。\t뜨거운 차.\n",
                "en is nearly what is measured on at",
            ),
            (
                "sentences/b.tsv",
                "You drink it.\t我们一起喝了一杯茶。\t熱いお茶。\t뜨거운 차.\n",
                "zh is nearly what is measured on at",
            ),
            ("sentences/b.tsv", "We drink tea.\t我们喝茶。\t茶を飲む。\t차를 마셔.\n", None),
            ("sentences/b.tsv", "Milk. \t牛奶。\t牛乳。\t우유.\n", "en has stray blanks"),
            ("sentences/b.tsv", "Milk.\tMilk.\t牛乳。\t우유.\n", "zh is not in its script"),
            ("sentences/b.tsv", "Milk.\t牛奶の。\t牛乳。\t우유.\n", "zh holds letters"),
            ("sentences/b.tsv", "Milk.\t牛奶。\t\t우유.\n", "ja is empty"),
            ("sentences/b.tsv", "Milk.\t牛奶。\t牛乳。\n", "3 columns instead of 4"),
            ("test.tsv", "food\tMilk.\t牛奶。\tお茶。\t우유.\n", "ja is also at"),
            ("lexicon.tsv", "under\tprep\t在…下面\t下\t아래\n", "zh has a sign in place"),
            ("lexicon.tsv", "tea\tnoun\t茶\tお茶\t차\n", "tea noun is also at"),
        ):
            with tempfile.TemporaryDirectory() as folder:
                os.mkdir(os.path.join(folder, "sentences"))
                files = {"sentences/a.tsv": good, "sentences/b.tsv": head, "test.tsv": measured}
                files["lexicon.tsv"] = lexicon
                files[name] += text
                for file, content in files.items():
                    with open(os.path.join(folder, file), "w", encoding="utf-8") as f:
                        f.write(content)
                check = Check(folder)
                self.assertEqual(check.run(), fault is None, (text, check.faults))
                self.assertEqual(len(check.faults), 0 if fault is None else 1, check.faults)
                self.assertIn(fault or "", "".join(check.faults))


if __name__ == "__main__":
    unittest.main()
