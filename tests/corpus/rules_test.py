"""Normal forms, sentences, and the rules that drop pairs."""
import unittest

from corpus.clean import refuse_line, refuse_pair
from corpus.sentences import split, split_pair
from corpus.text import fingerprint, normalise, units

LONG = " ".join(["word"] * 101)


class Text(unittest.TestCase):
    def test_normalise(self):
        for language, text, expected in (
            ("en", " e\u0301\u200b  a\u00a0b\tc\ufeff ", "\u00e9 a b c"),
            ("zh", "打开 文件 ，然后「保存」。", "打开文件，然后“保存”。"),
            ("zh", "打开 LibreOffice 文件", "打开 LibreOffice 文件"),
            ("zh", '使用"引号",好', '使用"引号",好'),  # the engine's own business
            ("ja", "「保存」 する", "「保存」 する"),
        ):
            self.assertEqual(normalise(text, language), expected)

    def test_units(self):
        for language, text, expected in (
            ("en", "Don't wait 3.5 s.", ["Don't", "wait", "3.5", "s", "."]),
            ("zh", "打开file_1.txt吗？", ["打", "开", "file_1.txt", "吗", "？"]),
            ("ko", "파일을 열기.", ["파일을", "열기", "."]),
        ):
            self.assertEqual(units(text, language), expected)

    def test_fingerprint_ignores_case_blanks_and_signs(self):
        self.assertEqual(fingerprint('Save  the "File"...'), fingerprint("save the file"))
        self.assertEqual(fingerprint("打开，文件。"), "打开文件")
        self.assertNotEqual(fingerprint("file 1"), fingerprint("file 2"))


class Sentences(unittest.TestCase):
    def test_split(self):
        for language, text, expected in (
            (
                "en",
                'Open it. Then close it! "Done?" Yes.',
                ["Open it.", "Then close it!", '"Done?"', "Yes."],
            ),
            (
                "en",
                "See e.g. Mr. Smith, i.e. Him. No more",
                ["See e.g. Mr. Smith, i.e. Him.", "No more"],
            ),
            ("en", "1. First step", ["1. First step"]),
            ("en", "Version 2.5 is out", ["Version 2.5 is out"]),
            ("zh", "打开它。“关上！”好吗？行", ["打开它。", "“关上！”", "好吗？", "行"]),
            ("zh", "用 a.txt 文件", ["用 a.txt 文件"]),
            ("ru", "Раз. Два и т. д. Три", ["Раз.", "Два и т. д.", "Три"]),
            ("en", "  ", []),
        ):
            self.assertEqual(split(text, language), expected, text)

    def test_pairs_split_only_where_both_sides_agree(self):
        self.assertEqual(
            split_pair("Open the file. Close it.", "打开文件。关闭它。", "en", "zh"),
            [("Open the file.", "打开文件。"), ("Close it.", "关闭它。")],
        )
        whole = ("Open the file. Close it.", "打开文件并且关闭它。")
        self.assertEqual(split_pair(*whole, "en", "zh"), [whole])
        lopsided = (
            "No. " + "This one is a very long sentence about files " * 3 + "today.",
            "这是一句关于文件的很长的话，" * 4 + "今天。好。",
        )
        self.assertEqual(split_pair(*lopsided, "en", "zh"), [lopsided])


class Rules(unittest.TestCase):
    CASES = (
        (None, "Open the file", "打开文件"),
        (None, "Press F5 in LibreOffice", "在 LibreOffice 中按 F5"),
        (None, "50% of the users", "50% 的用户"),
        ("empty", "", "文件"),
        ("empty", "File", ""),
        ("equal", "LibreOffice", "LibreOffice"),
        ("wrong script", "12 - 34", "十二"),
        ("wrong script", "Open", "Ouvrir"),
        ("wrong script", "Open the file", "ファイルを開く文件"),
        ("wrong script", "Open 文件 now", "现在打开文件"),
        ("placeholder", "Open %s now", "打开 %s"),
        ("placeholder", "Line %1 of %2", "第 %1 行"),
        ("placeholder", "Hello {name}", "你好 {name}"),
        ("placeholder", "Set $HOME first", "先设置目录"),
        ("placeholder", "Two\\nlines here", "两行"),
        ("markup", "Press <b>OK</b>", "按确定"),
        ("markup", "Fish &amp; chips", "炸鱼薯条"),
        ("too long", LONG, "字" * 150),
        ("too long", "word " * 60, "字" * 171),
        ("long word", "x" * 41 + " is long", "这个很长"),
        ("mostly signs", "a = (1 + 2) * 3", "结果等于九"),
        (
            "half translated",
            "Click the OK button to save your file",
            "点击 the OK button to save your file",
        ),
        ("length", "This is a rather long sentence with many words", "好的话"),
        ("length", "Yes", "这是一个完全不同而且太长的翻译"),
    )

    def test_english_chinese(self):
        for expected, english, chinese in self.CASES:
            self.assertEqual(
                refuse_pair(english, chinese, "en", "zh"), expected, (english, chinese)
            )

    def test_other_pairs(self):
        for expected, left, right, languages in (
            (None, "打开文件并保存", "ファイルを開いて保存する", ("zh", "ja")),
            ("wrong script", "打开文件", "파일 열기 ファイル", ("zh", "ko")),
            ("length", "打开文件并且保存", "ファイルを開いて保存し、そのあとでもう一度閉じてください", ("zh", "ja")),
            ("half translated", "Open the new file", "Open the new file bitte", ("en", "de")),
            (None, "Open the new file", "Die neue Datei öffnen", ("en", "de")),
            ("wrong script", "Open the file", "Open the file now", ("en", "ru")),
        ):
            self.assertEqual(refuse_pair(left, right, *languages), expected, (left, right))

    def test_single_lines(self):
        self.assertIsNone(refuse_line("打开文件。", "zh"))
        self.assertEqual(refuse_line("Plain English text", "zh"), "wrong script")


if __name__ == "__main__":
    unittest.main()
