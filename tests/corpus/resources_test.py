"""Names and name statistics."""
import string
import unittest

from corpus.resources.dictionary import clean_sense, clean_word, read_edict, read_freedict
from corpus.resources.names import cldr_names, pair_names, usable
from corpus.resources.segmentation import name_statistics, seen_words


class Names(unittest.TestCase):
    def test_cldr(self):
        def document(china, city, euro):
            return (
                f'<ldml><localeDisplayNames><territories><territory type="CN">{china}</territory>'
                f'<territory type="CN" alt="variant">no</territory></territories>'
                f"</localeDisplayNames><dates><timeZoneNames>"
                f'<zone type="Asia/Tokyo"><exemplarCity>{city}</exemplarCity></zone>'
                f"</timeZoneNames></dates><numbers><currencies>"
                f'<currency type="EUR"><symbol>e</symbol><displayName>{euro}</displayName>'
                f"</currency></currencies></numbers></ldml>"
            )

        pairs = pair_names(
            cldr_names(document("China", "Tokyo", "Euro")),
            cldr_names(document("中国", "东京", "\u2191\u2191\u2191")),
        )
        self.assertEqual(sorted(pairs), [("China", "loc", "中国"), ("Tokyo", "loc", "东京")])

    def test_usable(self):
        for left, right, kept in (
            ("Tokyo", "东京", True),
            ("Nice", "尼斯", False),
            ("Ba", "巴省", False),
            ("Georgia (US)", "佐治亚", False),
            ("Tartu", "塔爾圖", False),
            ("Prague 15", "布拉格", False),
            ("Ahom", "Ahom", False),
            ("Paris", "东京", True),
        ):
            found = usable([(left, "loc", right)], "en", "zh", {"nice"}, frozenset("爾圖"))
            self.assertEqual(found, [(left, "loc", right)] if kept else [], left)
        twice = [("Punjab", "loc", "旁遮普"), ("PUNJAB", "loc", "旁遮普邦")]
        self.assertEqual(usable(twice, "en", "zh", set(), frozenset()), twice[:1])


class Segmentation(unittest.TestCase):
    def test_name_statistics(self):
        words = [
            ("王小明", 9, "nr"),
            ("欧阳修", 5, "nr"),
            ("欧阳", 5, "nr"),
            ("李白", 7, "nr"),
            ("王国", 3, "n"),
            ("约翰逊", 2, "nr"),
        ]
        surnames, given = name_statistics(words, ["王", "李", "欧阳"], ["伟"], ["小"], ["明"])
        self.assertEqual(surnames, {"王": 2, "李": 2, "欧阳": 2})
        self.assertEqual(
            given, {"single": {"伟": 1, "白": 1, "修": 1}, "first": {"小": 2}, "second": {"明": 2}}
        )

    def test_words_that_are_seen(self):
        words = [("打开", 5, "v"), ("开门", 2, "v"), ("的", 9, "u"), ("大门", 1, "n"), ("门开", 1, "v")]
        self.assertEqual([w for w, _, _ in seen_words(words, ["请打开门。", "大 门"])], ["打开", "开门", "的"])


class Dictionaries(unittest.TestCase):
    def test_senses(self):
        for text, expected in (
            ("to run away (of animals)", ("run away", "verb")),
            ("a dog", ("dog", "")),
            ("the United States", ("United States", "")),
            ("(coll.) great!", ("great", "")),
            ("surname Wang", None),
            ("variant of 打開|打开[da3 kai1]", None),
            ("one of the four great inventions", None),
            ("used in 蝴蝶[hu2 die2]", None),
            ("(idiom)", None),
        ):
            self.assertEqual(clean_sense(text), expected, text)

    def test_words(self):
        for text, language, expected in (
            ("猫（动物）", "zh", "猫"),
            ("猫, 狗", "zh", None),
            ("cat", "zh", None),
            ("كِتَاب", "ar", "كتاب"),
            ("длинное русское объяснение слова", "ru", None),
        ):
            self.assertEqual(clean_word(text, language), expected, text)

    def test_common_words_of_edict(self):
        text = "走る [はしる] /(v5r,vi) (1) to run/to dash/(P)/\n稀 [まれ] /(n) rare thing/\n"
        self.assertEqual(list(read_edict(text)), [("run", "走る", "verb"), ("dash", "走る", "verb")])

    def test_entries_of_a_dict_server(self):
        entry = "Book /bʊk/ <n>\n1. كتاب، دفتر\nsee\n".encode()
        digit = string.ascii_letters.swapcase()[len(entry)]
        index = f"00databaseinfo\tA\tB\nbook\tB\t{digit}\n"
        self.assertEqual(
            list(read_freedict(index, b"x" + entry, "ar")),
            [("book", "كتاب", "noun"), ("book", " دفتر", "noun")],
        )


if __name__ == "__main__":
    unittest.main()
