"""Normal forms, sentences, and the rules that drop pairs."""
import unittest

from corpus.clean import refuse_line, refuse_pair, repeats
from corpus.quality import scores
from corpus.sentences import split, split_pair
from corpus.spans import refuse_marked, same_spans
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

    def test_two_sentences_may_answer_one(self):
        pair = (
            "Open the file now. Then close the old window and save the text. It is done.",
            "现在打开文件。然后关闭旧的窗口。并且保存文本。完成了。",
        )
        self.assertEqual(split_pair(*pair, "en", "zh"), [pair])
        self.assertEqual(
            split_pair(*pair, "en", "zh", merge=True),
            [
                ("Open the file now.", "现在打开文件。"),
                ("Then close the old window and save the text.", "然后关闭旧的窗口。并且保存文本。"),
                ("It is done.", "完成了。"),
            ],
        )


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

    def test_repetition(self):
        for text, language, expected in (
            ("ha ha ha ha", "en", True),
            ("no, no, no!", "en", False),
            ("哈哈哈哈", "zh", True),
            ("this is a word and a word is what a word is", "en", False),
            ("a b a c a d a e a f a g", "en", True),
        ):
            self.assertEqual(repeats(text, language), expected, text)


class Spans(unittest.TestCase):
    def test_same_spans_on_both_sides(self):
        for left, right, expected in (
            ("%d files", "%d个文件", True),
            ("Copy %s to %s", "将 %s 复制到 %s", True),
            ("Copy %1 to %2", "将 %2 移到 %1", True),
            ("Copy %s", "复制 %d", False),
            ("Copy %s", "复制", False),
            ("Copy", "复制", False),
            ("50% of users", "50% 的用户", False),
            ("Hi {name}, {0}", "你好{name}，{0}", True),
            ("Press <b>OK</b>", "按<b>确定</b>", True),
            ("Press <b>OK</b>", "按<i>确定</i>", False),
            ("%(count)d of $HOME", "$HOME 的 %(count)d", True),
        ):
            self.assertEqual(same_spans(left, right), expected, (left, right))

    def test_the_rest_of_the_line_is_judged(self):
        self.assertIsNone(refuse_marked("Copy %s now", "现在复制 %s", "en", "zh"))
        self.assertEqual(refuse_marked("Copy %s now", "Kopiere %s", "en", "zh"), "wrong script")
        self.assertEqual(refuse_marked("Copy %s now", "现在 %d", "en", "zh"), "other spans")


class Quality(unittest.TestCase):
    def test_unrelated_pairs_score_worst(self):
        words = ["red 红", "blue 蓝", "big 大", "small 小", "house 屋", "tree 树", "cat 猫", "dog 狗"]
        both = [w.split() for w in words]
        pairs = [(f"{a} {b} {c}", d + e + f) for a, d in both for b, e in both for c, f in both]
        good = len(pairs)
        pairs += [("red blue big", "猫狗树"), ("house tree cat", "红蓝大")]
        found = scores(pairs, "en", "zh")
        self.assertLess(max(found[good:]), min(found[:good]))


if __name__ == "__main__":
    unittest.main()
