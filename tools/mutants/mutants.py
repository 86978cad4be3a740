#!/usr/bin/python3
"""Counts the faults planted into the shipped code that the tests find.

  mutants.py plant TREE [SEED [COUNT]]   copies the repository to TREE and plants all faults there, each
                                         switched off; needs build/release/compile_commands.json. Then
                                         configure TREE with -DORVEL_WERROR=OFF and
                                         -DCMAKE_CXX_FLAGS="-include TREE/tools/mutants/mutant.h", and build it
  mutants.py reach TREE BUILD            runs each test once, and remembers the faults that it reaches
  mutants.py kill TREE BUILD             switches on one fault after the other and runs the tests that reach
                                         it, until one fails; prints the faults found in each folder

After a change of the tests, copy them to TREE, build, and repeat `reach` and `kill`: a fault that nothing
found before counts as not found, and the test that found a fault before runs first.
"""
import collections, concurrent.futures, json, os, pathlib, random, re, subprocess, sys, threading, time

FOLDERS = "base text tags db framework phones msd mtp orchestration qt cli".split()
OPERATORS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
             "+": "-", "-": "+"}
CONSTANT = re.compile(r"\b(constexpr|consteval|constinit|static_assert|template)\b")
MOST = 4096  # as in mutant.h
BUDGET_SECONDS = 150  # for each fault: the tests that reach it run in order of their length until then


class Source:
    """One file with the faults that could be planted into it: (begin, end, kind, replacement)."""

    def __init__(self, root, entry):
        from clang.cindex import CursorKind, TranslationUnit
        self.kinds, self.path, self.candidates = CursorKind, entry["file"], []
        arguments = re.search(r" -[ID].*(?= -o )", entry["command"]).group().split()
        self.text = pathlib.Path(self.path).read_bytes()
        self.unit = TranslationUnit.from_source(
            self.path, ["-xc++", "-w", "-include", f"{root}/tools/mutants/mutant.h", *arguments])
        for cursor in self.unit.cursor.get_children():
            if cursor.location.file and cursor.location.file.name == self.path:
                self.visit(cursor, None, None)

    def at(self, begin, end):
        return self.text[begin:end].decode()

    def visit(self, cursor, parent, returns):
        begin, end, kinds = cursor.extent.start.offset, cursor.extent.end.offset, self.kinds
        text = self.at(begin, end)
        if cursor.kind.is_declaration() and CONSTANT.search(re.split("[{=]", text, 1)[0]):
            return
        if cursor.kind in (kinds.STATIC_ASSERT, kinds.ENUM_DECL, kinds.FIELD_DECL) or text.startswith("if constexpr"):
            return
        children = list(cursor.get_children())
        if cursor.kind in (kinds.FUNCTION_DECL, kinds.CXX_METHOD, kinds.LAMBDA_EXPR):
            returns = cursor.result_type.spelling
        if cursor.kind.is_expression() and "\n" not in text:
            self.expression(cursor, parent, children, begin, end, text)
        if cursor.kind == kinds.RETURN_STMT and returns == "bool" and children:
            value = self.at(children[0].extent.start.offset, end)
            self.candidates.append((begin, end, "return", "return mutant(%d) != static_cast<bool>(" + value + ")"))
        if parent and parent.kind == kinds.COMPOUND_STMT and cursor.kind.is_expression() and self.at(end, end + 1) == ";":
            self.candidates.append((begin, end, "statement", "if (!mutant(%d)) " + text))
        for child in children[1 if cursor.kind == kinds.CASE_STMT else 0:]:
            self.visit(child, cursor, returns)

    def expression(self, cursor, parent, children, begin, end, text):
        kinds = self.kinds
        if cursor.kind in (kinds.BINARY_OPERATOR, kinds.CALL_EXPR) and len(children) > 1:
            middle, right = children[0].extent.end.offset, children[-1].extent.start.offset
            found = self.at(middle, right).strip()
            if children[0].extent.start.offset == begin and found in OPERATORS:
                other = self.at(begin, middle) + " " + OPERATORS[found] + " " + self.at(right, end)
                self.candidates.append((begin, end, "operator", f"(mutant(%d) ? {other} : {text})"))
        if cursor.kind == kinds.INTEGER_LITERAL and parent.kind != kinds.INIT_LIST_EXPR:
            self.candidates.append((begin, end, "constant", f"(mutant(%d) ? {text} + 1 : {text})"))
        if cursor.kind == kinds.CALL_EXPR and re.match(r"[\w:.>-]+\(", text):
            arguments = [a for a in cursor.get_arguments() if a and a.extent.end.offset > begin]
            for one, two in zip(arguments, arguments[1:]):
                (a, b), (c, d) = [(x.extent.start.offset, x.extent.end.offset) for x in (one, two)]
                same = one.type.get_canonical().spelling == two.type.get_canonical().spelling
                if same and begin < a < b < c < d < end and self.at(a, b) != self.at(c, d):
                    swapped = self.at(begin, a) + self.at(c, d) + self.at(b, c) + self.at(a, b) + self.at(d, end)
                    self.candidates.append((begin, end, "arguments", f"(mutant(%d) ? {swapped} : {text})"))

    def compiles(self, candidate):
        changed = planted(self.text, [(*candidate, 0)])
        self.unit.reparse(unsaved_files=[(self.path, changed.decode())])
        return all(d.severity < 3 for d in self.unit.diagnostics)


def planted(text, mutants):
    for begin, end, _, replacement, number in sorted(mutants, reverse=True):
        code = replacement.replace("%d", str(number), 1).encode()
        text = text[:begin] + code + text[end:]
    return text


def plant(tree, seed=1, count=64):
    root, chance = pathlib.Path(__file__).resolve().parents[2], random.Random(int(seed))
    entries = {e["file"]: e for e in load(root, "build/release/compile_commands")
               if "/text/tables/" not in e["file"] and "/scripted/" not in e["file"]}
    by_folder = {f: [p for p in sorted(entries) if p.startswith(f"{root}/{f}/")] for f in FOLDERS}
    sizes = {folder: sum(map(os.path.getsize, paths)) for folder, paths in by_folder.items()}
    sources, mutants = {}, collections.defaultdict(list)
    for number in range(int(count)):
        # Each folder has three at least, the rest go by size.
        folder = chance.choices(FOLDERS, list(sizes.values()))[0]
        if number < 3 * len(FOLDERS):
            folder = FOLDERS[number % len(FOLDERS)]
        while True:
            path = chance.choices(by_folder[folder], list(map(os.path.getsize, by_folder[folder])))[0]
            source = sources.get(path) or sources.setdefault(path, Source(root, entries[path]))
            free = [c for c in source.candidates if all(c[1] <= m[0] or m[1] <= c[0] for m in mutants[path])]
            if not free:
                continue
            kind = chance.choice(sorted({c[2] for c in free}))
            candidate = chance.choice([c for c in free if c[2] == kind])
            if source.compiles(candidate):
                mutants[path].append((*candidate, number))
                break
            source.candidates.remove(candidate)
    subprocess.run(["git", "checkout-index", "--all", "--force", f"--prefix={tree}/"], cwd=root, check=True)
    record = {}
    for path, chosen in mutants.items():
        name, text = os.path.relpath(path, root), sources[path].text
        (pathlib.Path(tree) / name).write_bytes(planted(text, chosen))
        for begin, _, kind, replacement, number in chosen:
            record[number] = {"file": name, "line": text.count(b"\n", 0, begin) + 1, "kind": kind, "code": replacement}
    save(tree, "mutants", {str(number): record[number] for number in sorted(record)})


def save(tree, name, value):
    (pathlib.Path(tree) / f"{name}.json").write_text(json.dumps(value, indent=1))


def load(tree, name):
    path = pathlib.Path(tree) / f"{name}.json"
    return json.loads(path.read_text()) if path.exists() else {}


class Tests:
    def __init__(self, build):
        shown = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], stdout=subprocess.PIPE, check=True)
        self.tests = {t["name"]: t for t in json.loads(shown.stdout)["tests"] if "command" in t}
        self.locks = collections.defaultdict(threading.Lock)  # a test may have a folder of its own

    def passes(self, name, limit=300, **environment):
        test = self.tests[name]
        properties = {p["name"]: p["value"] for p in test["properties"]}
        own = dict(v.split("=", 1) for v in properties.get("ENVIRONMENT", []))
        with self.locks[name]:
            begin = time.time()
            run = subprocess.Popen(["timeout", "-s", "KILL", str(int(limit)), *test["command"]],
                                   env={**os.environ, **own, **environment}, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   cwd=properties.get("WORKING_DIRECTORY"))
            return run.wait() in (0, 77), time.time() - begin


def each(function, items):
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        return dict(zip(items, pool.map(function, items)))


def reach(tree, build):
    tests = Tests(build)

    def run(name):
        noted = pathlib.Path(tree) / ("reached-" + re.sub(r"\W", "_", name))
        noted.write_bytes(bytes(MOST))
        passed, seconds = tests.passes(name, LD_ORVEL_REACHED=str(noted))
        reached = [number for number, byte in enumerate(noted.read_bytes()) if byte]
        noted.unlink()
        return {"passed": passed, "seconds": seconds, "reached": reached}

    results = each(run, list(tests.tests))
    for name in (n for n, result in results.items() if not result["passed"]):
        print(f"Fails without a fault, left out: {name}")
    save(tree, "reached", results)


def kill(tree, build):
    mutants, reached, before, tests = load(tree, "mutants"), load(tree, "reached"), load(tree, "killed"), Tests(build)

    def killer(number):
        if before.get(number, "") is None:
            return None
        reaching = [n for n, r in reached.items() if r["passed"] and int(number) in r["reached"]]
        left = BUDGET_SECONDS
        for name in sorted(reaching, key=lambda n: (n != before.get(number), reached[n]["seconds"])):
            left -= reached[name]["seconds"]
            if left < 0:
                return None
            limit = 20 + 5 * reached[name]["seconds"]
            if not tests.passes(name, limit, LD_ORVEL_MUTANT=number)[0] and tests.passes(name)[0]:
                return name
        return None

    killed = each(killer, list(mutants))
    save(tree, "killed", killed)
    for folder in FOLDERS:
        own = [n for n, m in mutants.items() if m["file"].startswith(folder + "/")]
        print(f"{folder}: {sum(killed[n] is not None for n in own)} of {len(own)}")
    print(f"all: {sum(k is not None for k in killed.values())} of {len(mutants)}")


if __name__ == "__main__":
    verbs = {"plant": plant, "reach": reach, "kill": kill}
    if len(sys.argv) < 3 or sys.argv[1] not in verbs:
        sys.exit(__doc__)
    verbs[sys.argv[1]](*sys.argv[2:])
