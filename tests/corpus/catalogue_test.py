"""Message catalogues: the format, accelerators, markup, paragraphs."""
import unittest

from corpus.catalogue import (
    catalogue_document,
    paragraphs,
    read_mo,
    segments,
    strip_accelerator,
    strip_markup,
)
from mo import catalogue


class Format(unittest.TestCase):
    def test_both_byte_orders_and_other_charsets(self):
        for order, charset in (("<", "UTF-8"), (">", "UTF-8"), ("<", "GB18030")):
            data = catalogue({"menu\x04Open": "打开", "file\0files": "个文件"}, order, charset)
            self.assertEqual(
                list(read_mo(data)), [("", ["file", "files"], ["个文件"]), ("menu", ["Open"], ["打开"])]
            )

    def test_credits_and_empty_translations_are_left_out(self):
        data = catalogue(
            {
                "EMAIL OF TRANSLATORS\x04Your emails": "a@b",
                "translator-credits": "Li",
                "Cut": "",
                "Open": "打开",
            }
        )
        self.assertEqual([forms for _, forms, _ in read_mo(data)], [["Open"]])

    def test_a_bad_message_costs_no_other(self):
        data = catalogue({"Cut": "剪切", "Open": "打开"}).replace("剪".encode(), b"\xff\xff\xff")
        self.assertEqual(list(read_mo(data)), [("", ["Open"], ["打开"])])

    def test_damage_is_an_error(self):
        whole = catalogue({"Open": "打开"})
        for damaged in (
            b"",
            b"not a catalogue, but long enough for one",
            whole[:40],
            whole[:8] + b"\xff\xff\xff\x7f" + whole[12:],
        ):
            with self.assertRaises(ValueError):
                list(read_mo(damaged))


class Messages(unittest.TestCase):
    def test_accelerators(self):
        for sign, text, expected in (
            ("&", "&Open", "Open"),
            ("&", "Fish && Chips", "Fish & Chips"),
            ("&", "A & B", "A & B"),
            ("_", "_Open", "Open"),
            ("_", "Save _As", "Save As"),
            ("_", "MAX_SIZE is", "MAX_SIZE is"),
            ("_", "my_file.txt", "my_file.txt"),
            ("~", "Cu~t", "Cut"),
            ("~", "剪切(~T)", "剪切"),
            ("&", "打开(&O)...", "打开..."),
            ("_", "打开（_O）", "打开"),
        ):
            self.assertEqual(strip_accelerator(text, sign), expected, text)

    def test_markup(self):
        for text, expected in (
            ("<b>Bold</b> &lt;x&gt;", "Bold <x>"),
            ("one<br/>two", "one two"),
            ("see <ref>dst='unit' text='the elf'</ref>", "see the elf"),
            ("use <file> here", "use <file> here"),
        ):
            self.assertEqual(strip_markup(text), expected, text)

    def test_paragraphs(self):
        for language, text, expected in (
            ("en", "wrapped\nby hand.\nNew one", ["wrapped by hand.", "New one"]),
            ("en", "a\n\nb\n- item\n- item 2", ["a", "b", "- item", "- item 2"]),
            ("zh", "手工\n换行。\n新的", ["手工换行。", "新的"]),
            ("en", "", []),
        ):
            self.assertEqual(paragraphs(text, language), expected, text)

    def test_segments(self):
        self.assertEqual(
            segments("First.\nSecond.", "第一。\n第二。", "zh"), [("First.", "第一。"), ("Second.", "第二。")]
        )
        self.assertEqual(
            segments("First.\nSecond.", "第一，第二。", "zh"), [("First. Second.", "第一，第二。")]
        )
        self.assertEqual(segments("Very long. " * 60 + "\nEnd", "很长。", "zh"), [])

    def test_plurals_and_prefixes(self):
        data = catalogue({"one file\0many files": "许多文件", "verb^Open": "打开"})
        self.assertEqual(
            catalogue_document("c", data, "zh", prefixes=True).segments,
            [("many files", "许多文件"), ("Open", "打开")],
        )
        data = catalogue({"one file\0many files": "eine Datei\0viele Dateien"})
        self.assertEqual(
            catalogue_document("c", data, "de").segments,
            [("one file", "eine Datei"), ("many files", "viele Dateien")],
        )

    def test_markup_is_kept_beside(self):
        data = catalogue({"_Press <b>OK</b>": "请按 <b>确定</b>(_P)", "_Cut": "剪切(_T)"})
        document = catalogue_document("c", data, "zh", "&_")
        self.assertEqual(document.segments, [("Cut", "剪切"), ("Press OK", "请按 确定")])
        self.assertEqual(document.marked, [("Press <b>OK</b>", "请按 <b>确定</b>")])


if __name__ == "__main__":
    unittest.main()
