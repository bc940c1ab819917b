"""What "cmake --install" puts where, and that it is found from there. Wants BUILD_FOLDER, a build that is complete."""

import configparser
import gzip
import os
import stat
import subprocess
import tempfile
import unittest

ID = "io.github.quillbox.Quillbox"
ENTRIES = [
    f"share/applications/{ID}.desktop",
    f"share/Thunar/sendto/{ID}.desktop",
    f"share/file-manager/actions/{ID}.desktop",
    f"share/kio/servicemenus/{ID}.desktop",
    "share/nemo/actions/quillbox.nemo_action",
]
EDGES = [16, 22, 24, 32, 48, 64, 128, 256]
LIBRARY = [
    *[f"include/quillbox/{name}.h" for name in ("FMFailure", "FMServer", "FMThread", "FTPEncryption", "FTPManager", "FTPManagerDelegate",
                                                "FTPManagerStrings", "FTPTimeouts", "ListingEntry", "Version")],
    *[f"lib/cmake/QuillboxFTP/QuillboxFTP{name}.cmake" for name in ("Config", "ConfigVersion", "Targets", "Targets-debug")],
    *[f"lib/libquillboxftp.so{number}" for number in ("", ".0", ".0.1.0")],
    "lib/pkgconfig/quillboxftp.pc",
]
EXPECTED = sorted(
    [
        *LIBRARY,
        "bin/Quillbox",
        "bin/quillbox",
        *ENTRIES,
        f"share/metainfo/{ID}.metainfo.xml",
        "share/doc/quillbox/copyright",
        *[f"share/icons/hicolor/{edge}x{edge}/apps/{ID}.png" for edge in EDGES],
        f"share/icons/hicolor/scalable/apps/{ID}.svg",
        f"share/icons/hicolor/symbolic/apps/{ID}-symbolic.svg",
        "share/man/man1/Quillbox.1.gz",
        "share/man/man1/quillbox.1.gz",
    ]
)


class Install(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls._folder = tempfile.TemporaryDirectory(prefix="quillbox install ")
        cls.addClassCleanup(cls._folder.cleanup)
        cls.prefix = os.path.join(cls._folder.name, "prefix")
        # As after a build of the program alone.
        os.remove(os.path.join(os.environ["BUILD_FOLDER"], "packaging", "quillbox.1.gz"))
        words = [os.environ.get("CMAKE", "cmake"), "--install", os.environ["BUILD_FOLDER"], "--prefix", cls.prefix]
        subprocess.run(words, check=True, stdout=subprocess.DEVNULL)

    def path(self, name):
        return os.path.join(self.prefix, name)

    def entry(self, name):
        parser = configparser.RawConfigParser(delimiters=("=",), comment_prefixes=("#",))
        parser.optionxform = str
        parser.read(self.path(name), encoding="utf-8")
        return parser

    def put_in_place_of_the_program(self):
        """A folder with the wrapper and, beside it, a program that prints what it is started as."""
        folder = tempfile.mkdtemp(dir=self._folder.name)
        os.link(self.path("bin/quillbox"), os.path.join(folder, "quillbox"))
        program = os.path.join(folder, "Quillbox")
        with open(program, "w", encoding="utf-8") as file:
            file.write('#!/bin/sh\nprintf "%s\\n" "$(basename "$0")" "$@"\n')
        os.chmod(program, 0o755)
        return folder

    def test_these_files_are_installed_and_no_others(self):
        found = []
        for folder, _, names in os.walk(self.prefix):
            found += [os.path.relpath(os.path.join(folder, name), self.prefix) for name in names]

        self.assertEqual(sorted(found), EXPECTED)

    def test_only_programs_are_executable_and_all_can_read(self):
        for name in EXPECTED:
            mode = stat.S_IMODE(os.stat(self.path(name)).st_mode)
            self.assertEqual(mode, 0o755 if name.startswith("bin/") else 0o644, name)

    def test_the_program_runs_from_where_it_is_installed(self):
        for name in ("bin/Quillbox", "bin/quillbox"):
            words = [self.path(name), "--version"]
            self.assertRegex(subprocess.run(words, capture_output=True, text=True).stdout, r"^Quillbox \d")

    def test_the_wrapper_starts_the_program_under_its_own_name(self):
        folder = self.put_in_place_of_the_program()
        link = os.path.join(folder, "elsewhere")
        os.symlink(os.path.join(folder, "quillbox"), link)

        for start in (os.path.join(folder, "quillbox"), link):
            words = [start, "a b", "", "--", "ü*\n"]
            shown = subprocess.run(words, capture_output=True, text=True, check=True).stdout
            self.assertEqual(shown, "Quillbox\na b\n\n--\nü*\n\n", start)

    def test_the_wrapper_is_found_by_the_search_path(self):
        folder = self.put_in_place_of_the_program()
        search = {**os.environ, "PATH": folder + ":" + os.environ["PATH"]}

        shown = subprocess.run(["quillbox"], capture_output=True, text=True, check=True, env=search, cwd="/").stdout

        self.assertEqual(shown, "Quillbox\n")

    def test_every_entry_hands_files_to_the_program(self):
        for name in ENTRIES:
            entry = self.entry(name)
            lines = [entry[section]["Exec"] for section in entry.sections() if "Exec" in entry[section]]
            self.assertIn("Quillbox %F", lines, name)

    def test_every_entry_of_a_file_manager_is_for_files_and_folders(self):
        wanted = [
            ("Thunar/sendto", "Desktop Entry", "MimeType", None),
            ("file-manager/actions", "X-Action-Profile upload", "MimeTypes", "all/allfiles;inode/directory;"),
            ("kio/servicemenus", "Desktop Entry", "MimeType", "all/allfiles;inode/directory;"),
            ("nemo/actions", "Nemo Action", "Extensions", "any;"),
        ]
        for (folder, section, key, types), name in zip(wanted, ENTRIES[1:]):
            self.assertIn(folder, name)
            self.assertEqual(self.entry(name)[section].get(key), types, name)

    def test_opening_a_file_never_uploads_it(self):
        launcher = self.entry(ENTRIES[0])["Desktop Entry"]

        self.assertNotIn("MimeType", launcher)

    def test_every_icon_that_is_named_is_installed(self):
        icons = {os.path.splitext(os.path.basename(name))[0] for name in EXPECTED if "/icons/" in name}
        for name in ENTRIES:
            entry = self.entry(name)
            named = [value for part in entry.sections() for key, value in entry[part].items() if key.startswith("Icon")]
            self.assertTrue(named, name)
            self.assertLessEqual(set(named), icons, name)

    def test_the_manual_page_describes_every_option(self):
        with gzip.open(self.path("share/man/man1/quillbox.1.gz"), "rt", encoding="utf-8") as file:
            page = file.read().replace("\\-", "-")
        words = [self.path("bin/Quillbox"), "--help"]
        shown = subprocess.run(words, capture_output=True, text=True).stdout

        options = [word.strip(",") for word in shown.split() if word.startswith("--")]
        self.assertIn("--help", options)
        for option in options:
            self.assertIn(option, page)


if __name__ == "__main__":
    unittest.main()
