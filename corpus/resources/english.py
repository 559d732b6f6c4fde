"""English words as a dictionary spells them: which case a word has when the training text does not
say."""
from corpus.resources import save

PACKAGES = ("wamerican",)
LICENCE = "public domain and MIT-like (SCOWL)"


def words(cache):
    """The words in order, without the possessive forms."""
    text = cache.read("wamerican", "usr/share/dict/american-english")[
        "usr/share/dict/american-english"
    ].decode("utf-8")
    return [w for w in text.split() if not w.endswith("'s")]


def write(cache, folder):
    return save(folder, "english-words.txt", words(cache))
