#!/usr/bin/env python3
"""Writes the compact voice data of the reference provider into a bundle's Resources folder.

Layout, per release and locale:
    <release dir>/TTSResources/<locale>/   (the iOS 4 release has no release dir)
        broker.hdr          header naming the voice, its gender and locale (ISO 8859-1 text)
        voice.dat           voice data; the provider derives its voice parameters from its bytes
        user_rules.txt      pronunciation rules, "written<TAB>spoken" per line
        <lang>_userdct.dat  user dictionary in the same line format

Everything is derived from the tables below, so two runs write identical files.
"""

import argparse
import hashlib
import pathlib
import sys

# The voices a user of each release knew, per locale: (locale, voice name, gender).
ENGLISH_AND_WESTERN = [
    ("en-US", "Samantha", "female"),
    ("en-GB", "Daniel", "male"),
    ("fr-FR", "Thomas", "male"),
    ("de-DE", "Anna", "female"),
    ("it-IT", "Alice", "female"),
    ("es-ES", "Monica", "female"),
]
IOS4_ADDITIONS = [
    ("en-AU", "Karen", "female"),
    ("nl-NL", "Xander", "male"),
    ("ja-JP", "Kyoko", "female"),
    ("zh-CN", "Ting-Ting", "female"),
]
IOS5_ADDITIONS = [
    ("fr-CA", "Amelie", "female"),
    ("es-MX", "Paulina", "female"),
    ("pt-BR", "Luciana", "female"),
    ("ru-RU", "Milena", "female"),
    ("sv-SE", "Alva", "female"),
]
IOS6_ADDITIONS = [
    ("en-IE", "Moira", "female"),
    ("en-ZA", "Tessa", "female"),
    ("zh-HK", "Sin-Ji", "female"),
    ("zh-TW", "Mei-Jia", "female"),
    ("ko-KR", "Yuna", "female"),
]

RELEASES = [
    # (release name, compact-data directory or None, voices)
    ("ios3", "ios3", ENGLISH_AND_WESTERN),
    ("ios4", None, ENGLISH_AND_WESTERN + IOS4_ADDITIONS),
    ("ios5", "ios5", ENGLISH_AND_WESTERN + IOS4_ADDITIONS + IOS5_ADDITIONS),
    ("ios6", "ios6", ENGLISH_AND_WESTERN + IOS4_ADDITIONS + IOS5_ADDITIONS + IOS6_ADDITIONS),
    ("ios7", "ios7", ENGLISH_AND_WESTERN + IOS4_ADDITIONS + IOS5_ADDITIONS + IOS6_ADDITIONS),
]

# Product names every voice reads the same way, whatever its language.
COMMON_RULES = [
    ("iOS", "I O S"),
    ("ios", "I O S"),
]
RULES_BY_LANGUAGE = {
    "en": [("Mac OS X", "Mac OS ten"), ("Panic! At the Disco", "Panic At the Disco")],
    "fr": [("Mac OS X", "Mac OS dix")],
    "de": [("Mac OS X", "Mac OS zehn")],
    "it": [("Mac OS X", "Mac OS dieci")],
    "es": [("Mac OS X", "Mac OS diez")],
}
DICTIONARY_BY_LANGUAGE = {
    "en": [("Dr.", "Doctor"), ("e.g.", "for example"), ("VoiceOver", "Voice Over")],
    "fr": [("M.", "Monsieur"), ("Mme", "Madame")],
    "de": [("z.B.", "zum Beispiel"), ("Nr.", "Nummer")],
    "it": [("Sig.", "Signor"), ("Dott.", "Dottor")],
    "es": [("Sr.", "Señor"), ("Dra.", "Doctora")],
    "nl": [("bijv.", "bijvoorbeeld")],
    "pt": [("Sr.", "Senhor")],
    "sv": [("t.ex.", "till exempel")],
}

VOICE_DATA_SIZE = 8192


def voice_data(release, locale, name):
    """Deterministic bytes standing in for the voice's unit database."""
    seed = f"{release}/{locale}/{name}/compact".encode()
    blocks = []
    block = hashlib.sha256(seed).digest()
    while len(blocks) * len(block) < VOICE_DATA_SIZE:
        blocks.append(block)
        block = hashlib.sha256(block + seed).digest()
    return b"".join(blocks)[:VOICE_DATA_SIZE]


def header(locale, name, gender):
    return (
        '<?xml version="1.0" encoding="ISO-8859-1"?>\n'
        "<broker>\n"
        f"  <voice>{name}</voice>\n"
        f"  <gender>{gender}</gender>\n"
        f"  <locale>{locale}</locale>\n"
        "  <quality>compact</quality>\n"
        "</broker>\n"
    ).encode("latin-1")


def rule_lines(title, pairs):
    lines = [f"# {title}: written<TAB>spoken, applied in this order"]
    lines += [f"{written}\t{spoken}" for written, spoken in pairs]
    return ("\n".join(lines) + "\n").encode("utf-8")


def write_voice(folder, release, locale, name, gender):
    language = locale.split("-")[0]
    folder.mkdir(parents=True, exist_ok=True)
    files = {
        "broker.hdr": header(locale, name, gender),
        "voice.dat": voice_data(release, locale, name),
        "user_rules.txt": rule_lines("pronunciation rules", RULES_BY_LANGUAGE.get(language, []) + COMMON_RULES),
        f"{language}_userdct.dat": rule_lines("user dictionary", DICTIONARY_BY_LANGUAGE.get(language, [])),
    }
    for file_name, contents in files.items():
        path = folder / file_name
        if not path.exists() or path.read_bytes() != contents:
            path.write_bytes(contents)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("resources", type=pathlib.Path, help="the bundle's Resources folder")
    parser.add_argument("--stamp", type=pathlib.Path, help="file to touch when done")
    arguments = parser.parse_args()
    for release, directory, voices in RELEASES:
        base = arguments.resources / directory if directory else arguments.resources
        for locale, name, gender in voices:
            write_voice(base / "TTSResources" / locale, release, locale, name, gender)
    if arguments.stamp:
        arguments.stamp.write_text("compact data written\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
