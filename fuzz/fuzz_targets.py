"""The fuzz targets as the scripts beside this file run them: the longest input each
takes and the dictionary that helps it."""

from dataclasses import dataclass
from pathlib import Path

FUZZ_DIR = Path(__file__).resolve().parent


@dataclass(frozen=True)
class Target:
    name: str
    max_len: int  # inputs beyond this are not tried (and not kept as seeds)
    dictionary: str  # file in fuzz/

    @property
    def dictionary_path(self) -> Path:
        return FUZZ_DIR / self.dictionary


TARGETS = [
    Target("compatible_expression", 4096, "xpath.dict"),
    Target("standard_expression", 4096, "xpath.dict"),
    Target("rule_set", 32768, "xpath.dict"),
    Target("invoice", 65536, "xml.dict"),
    Target("xsd_schema", 65536, "xml.dict"),
]


def target_named(name: str) -> Target:
    for target in TARGETS:
        if target.name == name:
            return target
    raise SystemExit(f"unknown fuzz target {name!r}; known: {', '.join(t.name for t in TARGETS)}")
