"""Every C, C++ and Java example of the README and of docs/linking.md is a whole program: it is
compiled against the built library and, as it stands, translates with a small model.

    examples_test.py SOURCE_DIR LIBRARY MODEL CC CXX [JAVAC JAVA JAR]
"""

import os
import re
import subprocess
import sys
import tempfile

PAGES = ("README.md", "docs/linking.md")
FENCE = re.compile(r"^```(\w+)\n(.*?)^```$", re.M | re.S)


def run(command, **more):
    done = subprocess.run(command, capture_output=True, text=True, **more)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}\n{done.stdout}{done.stderr}")
    return done.stdout


def main():
    source, library, model, cc, cxx, *java = sys.argv[1:]
    lib_dir = os.path.dirname(library)
    link = [f"-I{source}/engine/include", library, f"-Wl,-rpath,{lib_dir}"]
    link += [f"-Wl,-rpath-link,{lib_dir}"]
    seen = {}
    with tempfile.TemporaryDirectory() as folder:
        for page in PAGES:
            with open(os.path.join(source, page), encoding="utf-8") as f:
                examples = FENCE.findall(f.read())
            for number, (language, code) in enumerate(examples, 1):
                if language not in ("c", "cpp", "java"):
                    continue
                seen[language] = seen.get(language, 0) + 1
                program = os.path.join(folder, f"{language}{seen[language]}")
                if language == "java":
                    if not java:
                        continue
                    javac, jvm, jar = java
                    os.makedirs(program)
                    name = re.search(r"class (\w+)", code)[1]
                    file = os.path.join(program, name + ".java")
                    command = [jvm, f"-Dkora.library={library}", "-cp", f"{program}:{jar}", name]
                    build = [javac, "-cp", jar, "-d", program, file]
                else:
                    file = f"{program}.{language}"
                    command = [program]
                    build = [cc, "-std=c11"] if language == "c" else [cxx, "-std=c++20"]
                    build += ["-Wall", "-Werror", file, "-o", program] + link
                with open(file, "w", encoding="utf-8") as f:
                    f.write(code)
                run(build)
                output = run(command + [model])
                if not output.strip():
                    sys.exit(f"{page}: example {number} ({language}) printed nothing")
                print(f"{page}: example {number} ({language}): {output.strip()}")
    if seen.get("c", 0) < 2 or seen.get("cpp", 0) < 1 or seen.get("java", 0) < 1:
        sys.exit(f"examples found: {seen}; the pages have lost some, or the test does not see them")


if __name__ == "__main__":
    main()
