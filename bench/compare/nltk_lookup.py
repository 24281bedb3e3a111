#!/usr/bin/python3
"""Every meaning of each word with the literals of each meaning, through
NLTK's WordNet reader on the same WordNet 3.0 files Corvid5 is built from.

usage: nltk_lookup.py WORDS READER_DIR [WORDNET_DIR]

Debian's python3-nltk reads WordNet from a folder that must also hold a
`lexnames` file, which Debian's wordnet-base does not ship. READER_DIR is
made (again) as a folder of links to WORDNET_DIR's files plus that file.

Prints `name value` lines: the time from making the reader to the first
answer, microseconds a word on the first pass (every synset read from the
data files) and on the second (NLTK's synset cache warm), and what was found.
Times are the process's CPU time, so that other work on the machine does not
count; `wall_` lines give the elapsed time of the same spans.
"""
import os
import sys
import time
import warnings

# WordNet 3.0's lexicographer files: number, name, syntactic category.
LEXICOGRAPHER_FILES = [
    "adj.all", "adj.pert", "adv.all", "noun.Tops", "noun.act", "noun.animal",
    "noun.artifact", "noun.attribute", "noun.body", "noun.cognition",
    "noun.communication", "noun.event", "noun.feeling", "noun.food",
    "noun.group", "noun.location", "noun.motive", "noun.object", "noun.person",
    "noun.phenomenon", "noun.plant", "noun.possession", "noun.process",
    "noun.quantity", "noun.relation", "noun.shape", "noun.state",
    "noun.substance", "noun.time", "verb.body", "verb.change",
    "verb.cognition", "verb.communication", "verb.competition",
    "verb.consumption", "verb.contact", "verb.creation", "verb.emotion",
    "verb.motion", "verb.perception", "verb.possession", "verb.social",
    "verb.stative", "verb.weather", "adj.ppl",
]
CATEGORY = {"noun": 1, "verb": 2, "adj": 3, "adv": 4}


def make_reader_dir(wordnet_dir, reader_dir):
    os.makedirs(reader_dir, exist_ok=True)
    for name in os.listdir(wordnet_dir):
        link = os.path.join(reader_dir, name)
        if not os.path.lexists(link):
            os.symlink(os.path.join(wordnet_dir, name), link)
    with open(os.path.join(reader_dir, "lexnames"), "w") as out:
        for number, name in enumerate(LEXICOGRAPHER_FILES):
            out.write("%02d\t%s\t%d\n" % (number, name, CATEGORY[name.split(".")[0]]))


def look_up(wordnet, word):
    """The meanings found and the literals read for one word."""
    meanings = literals = 0
    for synset in wordnet.synsets(word):
        meanings += 1
        literals += len(synset.lemma_names())
    return meanings, literals


class Span:
    """CPU and elapsed seconds from its making to `stop`."""

    def __init__(self):
        self.cpu, self.wall = time.process_time(), time.perf_counter()

    def stop(self):
        return time.process_time() - self.cpu, time.perf_counter() - self.wall


def one_pass(wordnet, words):
    meanings = literals = 0
    span = Span()
    for word in words:
        m, l = look_up(wordnet, word)
        meanings += m
        literals += l
    return span.stop(), meanings, literals


def report(name, seconds, scale):
    print("%s %.2f" % (name, seconds[0] * scale))
    print("wall_%s %.2f" % (name, seconds[1] * scale))


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit("usage: nltk_lookup.py WORDS READER_DIR [WORDNET_DIR]")
    words_path, reader_dir = sys.argv[1], sys.argv[2]
    wordnet_dir = sys.argv[3] if len(sys.argv) == 4 else "/usr/share/wordnet"
    with open(words_path, encoding="utf-8") as f:
        words = [line.rstrip("\n") for line in f if line.strip()]
    if not words:
        sys.exit("nltk_lookup.py: no words in " + words_path)
    make_reader_dir(wordnet_dir, reader_dir)

    from nltk.corpus.reader.wordnet import WordNetCorpusReader

    # Without the Open Multilingual Wordnet's own files it warns that its
    # multilingual functions are off; they are not part of this work.
    warnings.filterwarnings("ignore", message="The multilingual functions")
    span = Span()
    wordnet = WordNetCorpusReader(reader_dir, None)
    look_up(wordnet, words[0])
    opened = span.stop()
    # The first word's synsets are already cached; so be it, it is one of
    # twenty thousand.
    first, meanings, literals = one_pass(wordnet, words)
    second, again, _ = one_pass(wordnet, words)
    if again != meanings:
        sys.exit("nltk_lookup.py: the second pass found %d meanings, the first %d" % (again, meanings))
    print("words %d" % len(words))
    report("open_to_first_answer_ms", opened, 1e3)
    report("first_pass_us", first, 1e6 / len(words))
    report("second_pass_us", second, 1e6 / len(words))
    print("meanings %d" % meanings)
    print("literals %d" % literals)


if __name__ == "__main__":
    main()
