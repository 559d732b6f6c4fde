"""What the package gives back, against the kora command where that gives the same."""

import itertools
import threading
import time

import kora
import pytest
from conftest import command
from phrasebook import PAIRS


@pytest.mark.parametrize("raw", [False, True])
def test_gives_what_the_command_gives(book, lines, raw):
    with kora.Translator(book, raw=raw) as translator:
        assert translator.direction == "en-zh"
        one_by_one = [translator.translate(line) for line in lines]
        assert translator.translate(lines) == one_by_one
        assert translator.translate(line.encode() for line in lines) == one_by_one
        for threads, chunk in ((1, 1), (2, 16), (5, 3)):
            assert list(translator.batch(lines, threads=threads, chunk=chunk)) == one_by_one
    bare = ["--raw"] if raw else []
    printed = command(
        "translate", "-m", book, *bare, text="".join(line + "\n" for line in lines).encode()
    )
    assert printed.decode().split("\n")[:-1] == one_by_one


@pytest.mark.parametrize(
    "text, translation",
    [
        ("hello world", "你好世界"),
        ("hello world. good morning", None),
        ("", ""),
        ("hello\0world", None),
        ("naïve 😀 cat", None),
    ],
)
def test_align_counts_code_points(translator, text, translation):
    found = translator.align(text)
    assert translation is None or found.text == translation
    assert found.text == translator.translate(text)
    end = 0
    for link in found.links:
        assert 0 <= link.source_start < link.source_end <= len(text)
        assert found.text[end : link.target_start].strip() == ""  # links tile the translation
        assert link.target_start < link.target_end
        end = link.target_end
    assert found.text[end:].strip() == ""


def test_links_name_the_words(translator):
    text = "😀 hello, the cat sat"
    found = translator.align(text)
    parts = {
        text[link.source_start : link.source_end]: found.text[link.target_start : link.target_end]
        for link in found.links
    }
    assert parts["hello"] == "你好"
    assert parts["😀"] == "😀"
    assert "猫" in "".join(parts.values())


def test_nbest(translator):
    found = translator.nbest("the cat sat", 4)
    assert len(found) == 4
    assert [c.score for c in found] == sorted((c.score for c in found), reverse=True)
    with kora.Translator(translator.folder, raw=True) as raw:
        assert found[0].text == raw.translate("the cat sat")
    assert translator.nbest("the cat sat", 0) == []
    with pytest.raises(kora.BadArgumentError):
        translator.nbest("the cat sat", -1)


def test_batch_reads_no_further_than_it_says_and_can_be_left(translator):
    read = 0

    def count():
        nonlocal read
        for read in itertools.count(1):
            yield "hello world"

    results = translator.batch(count(), threads=2, chunk=4)
    assert list(itertools.islice(results, 100)) == ["你好世界"] * 100
    assert 100 <= read <= 100 + 4 * 2 * 4
    results.close()
    assert not [thread for thread in threading.enumerate() if thread.name.startswith("kora")]


def test_batch_raises_in_order(translator):
    results = translator.batch(["hello world"] * 9 + [b"\xff"] + ["hello"] * 50, threads=2, chunk=4)
    got = []
    with pytest.raises(kora.TextError, match="text 9: byte 0 "):
        for line in results:
            got.append(line)
    assert got == ["你好世界"] * 9

    def broken():
        yield "hello world"
        raise RuntimeError("no more")

    with pytest.raises(RuntimeError, match="no more"):
        list(translator.batch(broken(), threads=2))


def test_other_threads_run_during_a_call(book):
    with kora.Translator(book) as translator:
        running = threading.Event()
        text = "where is the station ? " * 3000

        def translate():
            running.set()
            translator.translate(text)
            running.clear()

        thread = threading.Thread(target=translate)
        thread.start()
        running.wait(60)
        turns = 0
        while running.is_set():
            time.sleep(0.001)
            turns += 1
        thread.join()
        assert turns > 20  # with the interpreter's lock held there would be one or two


def test_evaluate(tmp_path):
    lines = [target for _, target in PAIRS]
    perfect = kora.evaluate(lines, lines, language="zh")
    assert perfect.bleu.value == pytest.approx(100) and perfect.chrf.value == pytest.approx(100)
    assert "tok:zh" in perfect.bleu.signature and "nc:6" in perfect.chrf.signature
    worse = kora.evaluate(["x" + line[1:] for line in lines], lines, language="zh")
    assert worse.bleu.low <= worse.bleu.value <= worse.bleu.high < 100
    (tmp_path / "reference").write_text("".join(line + "\n" for line in lines))
    two = kora.evaluate(
        ["x" + line[1:] for line in lines], [tmp_path / "reference", lines], language="zh"
    )
    assert two.bleu.value >= worse.bleu.value and "nrefs:2" in two.bleu.signature
    with pytest.raises(kora.CommandError) as caught:
        kora.evaluate(lines, lines[1:], language="zh")
    assert caught.value.status == 1
    with pytest.raises(kora.BadArgumentError):
        kora.evaluate(["a\nb"], ["a"], language="zh")


def test_train(tmp_path):
    for side, name in enumerate(("text.en", "text.zh")):
        (tmp_path / name).write_text("".join(pair[side].strip() + "\n" for pair in PAIRS))
    folder = kora.train(
        tmp_path / "model",
        direction="en-zh",
        source=tmp_path / "text.en",
        target=tmp_path / "text.zh",
        threads=2,
    )
    with kora.Translator(folder, check=True) as translator:
        right = sum(
            translator.translate(source).replace(" ", "") == target.replace(" ", "")
            for source, target in PAIRS
        )
    assert right > len(PAIRS) / 2


def test_thread_translator(small):
    here = kora.thread_translator(small)
    assert kora.thread_translator(small) is here
    assert kora.thread_translator(small, raw=True) is not here
    there = []
    thread = threading.Thread(target=lambda: there.append(kora.thread_translator(small)))
    thread.start()
    thread.join()
    assert there[0] is not here and there[0].translate("hello") == here.translate("hello")


def test_documents(translator):
    text = "hello world\n\n  - good morning {0} %s\r\n"
    plain = translator.translate_document(text)
    assert plain.startswith("你好世界\n\n  - ") and plain.endswith("\r\n")
    assert plain.count("{0}") == plain.count("%s") == 1
    html = "<p class=x>hello <b>world</b><br>good &amp; morning</p><pre>hello</pre>"
    found = translator.translate_document(html, format="html")
    assert found.startswith("<p class=x>你好<b>世界</b><br>") and found.endswith("<pre>hello</pre>")
    image = '<img alt="hello world">'
    assert translator.translate_document(image, format="html") == image
    assert "你好世界" in translator.translate_document(image, format="xml", attributes=True)
    with pytest.raises(kora.BadArgumentError, match="text, html, xml"):
        translator.translate_document("a", format="doc")


def test_glossary(translator):
    def cat(**more):
        return translator.translate_document("the cat sat", **more)

    before = cat()
    assert "猫" in before and "喵" not in before
    assert "喵" in cat(glossary={"cat": "喵"})
    assert cat() == before  # it was for one document
    assert translator.set_glossary({"cat": "喵", "xyzzy": ""}) == ""
    assert "喵" in cat() and "喵" in translator.translate("the cat sat")
    assert all("喵" in line for line in translator.batch(["the cat sat"] * 50, threads=3))
    both = translator.translate_document("the cat sat good", glossary="good\t善\n")
    assert "喵" in both and "善" in both
    assert "善" not in cat() and "喵" in cat()
    assert translator.set_glossary(None) == "" and cat() == before
    with pytest.raises(kora.BadArgumentError, match="holds a tab"):
        translator.set_glossary({"a\tb": "c"})


def test_protect(translator):
    text = "hello %s CASE-12 /etc/hello world"
    everything = translator.translate(text)
    assert "%s" in everything and "/etc/hello" in everything
    translator.protect(patterns=["CASE-#"])
    assert "CASE-12" in translator.translate(text)
    translator.protect(kinds=["patterns"])
    some = translator.translate(text)
    assert "CASE-12" in some and some != translator.translate(text + " /etc")
    assert list(translator.batch([text] * 20, threads=3)) == [some] * 20  # all handles
    assert "%s" not in some or "/etc/hello" not in some
    for wrong in ({"kinds": ["words"]}, {"patterns": ["*"]}, {"patterns": [""]}):
        with pytest.raises(kora.BadArgumentError):
            translator.protect(**wrong)
    assert translator.translate(text) == some


def test_explain(translator):
    text = "😀 hello world. the cat sat"
    sentences = translator.explain(text, 2)
    assert len(sentences) == 2
    for sentence in sentences:
        part = text[sentence.source_start : sentence.source_end]
        assert part.strip() in ("😀 hello world.", "the cat sat")
        assert 1 <= len(sentence.translations) <= 2
        for phrase in sentence.phrases:
            assert text[phrase.source_start : phrase.source_end].strip()
            assert 1 <= len(phrase.alternatives) <= 2
    words = {text[p.source_start : p.source_end]: p.alternatives[0].text
             for s in sentences for p in s.phrases}  # fmt: skip
    assert "你好" in words.get("hello world", words.get("hello", ""))


def test_limits(book, lines):
    with kora.Translator(book, raw=True) as translator:
        wide = translator.translate(lines)
        translator.set_limits(stack=1, options=1, distortion=0, beam=0.1)
        narrow = translator.translate(lines)
        assert narrow != wide
        assert list(translator.batch(lines, threads=3)) == narrow  # all handles
        translator.set_limits(stack=1000)
        translator.set_limits()
        assert list(translator.batch(lines, threads=3)) == wide
        for wrong in ({"stack": 1001}, {"options": -1}, {"beam": -1.0}, {"distortion": 2**40}):
            with pytest.raises(kora.BadArgumentError):
                translator.set_limits(**wrong)
        assert translator.translate(lines[0]) == wide[0]
