"""Debian packages as a place to read files from: downloaded and checked by apt, never installed.

The cache folder holds the .deb files, `packages.json` (what apt gave for each name) and apt's own
lists, so the machine's apt state stays as it is and no root is needed. """
import fnmatch
import hashlib
import json
import marshal
import os
import re
import subprocess
import tarfile
import tempfile
import urllib.parse

_MANIFEST = "packages.json"


class PackageError(RuntimeError):
    """A package could not be had; the message says which and what apt answered."""


class Cache:
    """A folder of packages. Reading is safe from several processes; fetching is for one at a
    time."""

    def __init__(self, folder, languages=("en",)):
        self.folder = os.path.abspath(folder)
        self.lists = os.path.join(self.folder, "apt", "lists")
        self.languages = sorted(set(languages) | {"en"})
        self._known = self._read_manifest()

    def _read_manifest(self):
        try:
            with open(os.path.join(self.folder, _MANIFEST), encoding="utf-8") as f:
                return json.load(f)
        except FileNotFoundError:
            return {}

    def _apt(self, *arguments, cwd=None):
        options = {
            "Dir::State::lists": self.lists,
            "Dir::Cache": os.path.join(self.folder, "apt"),
            "APT::Sandbox::User": "",
            "Acquire::Languages": ",".join(self.languages),
            "Acquire::Retries": "3",
        }
        command = ["apt-get", "-q", "-y"]
        for key, value in options.items():
            command += ["-o", f"{key}={value}"]
        result = subprocess.run(
            command + list(arguments),
            cwd=cwd or self.folder,
            env={**os.environ, "LC_ALL": "C.UTF-8"},
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            check=False,
        )
        return result.returncode, result.stdout

    def update(self):
        """Fetches the lists of packages and of their descriptions in the wanted languages."""
        os.makedirs(os.path.join(self.lists, "partial"), exist_ok=True)
        os.makedirs(os.path.join(self.folder, "apt", "archives", "partial"), exist_ok=True)
        code, output = self._apt("update")
        if code:
            raise PackageError(f"apt-get update failed:\n{output}")

    def has_lists(self, languages=()):
        """Whether package lists are here, and the descriptions in the given languages (apt's
        names)."""
        names = os.listdir(self.lists) if os.path.isdir(self.lists) else []
        return any("_Packages" in n for n in names) and all(
            self._description_files(lang) for lang in languages
        )

    def _description_files(self, language):
        wanted = re.compile(rf".*_i18n_Translation-{re.escape(language)}(?:\.\w+)?")
        return [
            os.path.join(self.lists, n)
            for n in sorted(os.listdir(self.lists))
            if wanted.fullmatch(urllib.parse.unquote(n))
        ]

    def path(self, name):
        return os.path.join(self.folder, self._known[name]["file"])

    def _is_whole(self, name):
        entry = self._known.get(name)
        return (
            entry is not None
            and os.path.exists(self.path(name))
            and os.path.getsize(self.path(name)) == entry["size"]
        )

    def fetch(self, names):
        """Downloads the packages that are not here yet. Raises PackageError when apt cannot give
        one."""
        missing = [n for n in dict.fromkeys(names) if not self._is_whole(n)]
        if not missing:
            return
        os.makedirs(self.folder, exist_ok=True)
        if not self.has_lists():
            self.update()
        code, output = self._apt("download", *missing)
        if code:  # lists older than the archive name files that are gone
            self.update()
            code, output = self._apt("download", *missing)
        if code:
            raise PackageError(f'apt-get download {" ".join(missing)} failed:\n{output}')
        for name in missing:
            self._known[name] = self._entry(name)
        temporary = os.path.join(self.folder, _MANIFEST + ".new")
        with open(temporary, "w", encoding="utf-8") as f:
            json.dump(self._known, f, indent=1, sort_keys=True)
        os.replace(temporary, os.path.join(self.folder, _MANIFEST))

    def fetch_npm(self, name, version):
        """The path of a package of the npm registry, downloaded by npm and never installed."""
        folder = os.path.join(self.folder, "npm")
        path = os.path.join(folder, f"{name}-{version}.tgz")
        if not os.path.exists(path):
            os.makedirs(folder, exist_ok=True)
            command = ["npm", "pack", "--silent", "--pack-destination", folder, f"{name}@{version}"]
            try:
                result = subprocess.run(command, capture_output=True, text=True, check=False)
            except FileNotFoundError:
                raise PackageError("npm is not installed: run script/bootstrap") from None
            if result.returncode:
                raise PackageError(f"npm pack {name}@{version} failed:\n{result.stderr}")
        return path

    def _entry(self, name):
        """The newest file of the package in the folder, that is the one that apt has just
        checked."""
        files = [
            f for f in os.listdir(self.folder) if f.startswith(name + "_") and f.endswith(".deb")
        ]
        if not files:
            raise PackageError(f"apt-get download reported success but left no file of {name}")
        if len(files) > 1:
            code, output = self._apt("download", "--print-uris", name)
            named = re.search(r"^'[^']+' (\S+) \d+", output, re.M)
            files = [f for f in files if code == 0 and named and f == named.group(1)] or files
        file = max(files, key=lambda f: os.stat(os.path.join(self.folder, f)).st_mtime_ns)
        version = urllib.parse.unquote(file.split("_")[1])
        return {
            "file": file,
            "version": version,
            "size": os.path.getsize(os.path.join(self.folder, file)),
        }

    def version(self, name):
        return self._known[name]["version"]

    def size(self, name):
        return self._known[name]["size"]

    def read(self, name, *patterns):
        """{path: bytes} of the files of a package that match a pattern (as in fnmatch; paths start
        without a slash). Links inside the package are followed."""
        kept = self._kept_path(name, patterns)
        try:
            with open(kept, "rb") as f:
                return marshal.load(f)
        except (FileNotFoundError, EOFError, ValueError):
            files = self._unpack(name, patterns)
        os.makedirs(os.path.dirname(kept), exist_ok=True)
        with tempfile.NamedTemporaryFile(dir=os.path.dirname(kept), delete=False) as f:
            marshal.dump(files, f)
        os.replace(f.name, kept)
        return files

    def _kept_path(self, name, patterns):
        """Where the files read from a package are kept, since unpacking takes long."""
        package = self.path(name)
        key = f"{package} {os.stat(package).st_mtime_ns} {sorted(patterns)}"
        return os.path.join(self.folder, "read", hashlib.sha256(key.encode()).hexdigest()[:32])

    def _unpack(self, name, patterns):
        wanted = re.compile("|".join(fnmatch.translate(p) for p in patterns))
        files, links = {}, {}
        with subprocess.Popen(
            ["dpkg-deb", "--fsys-tarfile", self.path(name)],
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
        ) as unpacker:
            try:
                with tarfile.open(fileobj=unpacker.stdout, mode="r|") as archive:
                    for member in archive:
                        path = member.name.removeprefix("./")
                        if not wanted.match(path):
                            continue
                        if member.isreg():
                            files[path] = archive.extractfile(member).read()
                        elif member.issym():
                            links[path] = os.path.normpath(
                                os.path.join(os.path.dirname(path), member.linkname)
                            )
                        elif member.islnk():
                            links[path] = member.linkname.removeprefix("./")
                unpacker.stdout.read()
                damaged = False
            except tarfile.TarError:
                damaged = True
        if damaged or unpacker.returncode:
            raise PackageError(f"{self.path(name)} is damaged: remove it and run again")
        files.update((path, files[target]) for path, target in links.items() if target in files)
        return dict(sorted(files.items()))

    def description_lists(self, language):
        """The text of apt's lists of descriptions in a language (apt's name, as zh_CN)."""
        found = []
        for path in self._description_files(language):
            result = subprocess.run(
                ["/usr/lib/apt/apt-helper", "cat-file", path], stdout=subprocess.PIPE, check=True
            )
            found.append(result.stdout.decode("utf-8", "replace"))
        return "\n".join(found)
