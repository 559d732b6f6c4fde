"""Names and name statistics."""
import unittest

from corpus.resources.names import cldr_names, pair_names, usable
from corpus.resources.segmentation import name_statistics


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


if __name__ == "__main__":
    unittest.main()
