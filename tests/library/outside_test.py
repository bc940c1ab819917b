"""Other people's programs, built against the library as it is installed, or as a part of their own build, and run
against a real server, in clear and encrypted. Wants BUILD_FOLDER, a build that is complete, and CMAKE.

    outside_test.py [Installed | AsPart]
"""

import glob
import os
import re
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(HERE, "..", "window"))
sys.path.insert(0, os.path.join(HERE, "..", "servers"))

from certificates import make_certificate  # noqa: E402
from helper_client import Helper  # noqa: E402

CMAKE = os.environ.get("CMAKE", "cmake")
STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion", "-Werror"]


def run(*words, **options):
    done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(words)}:\n{done.stdout[-4000:]}")
    return done.stdout


class Case(unittest.TestCase):
    def folder(self):
        return self.enterContext(tempfile.TemporaryDirectory(prefix="quillbox outside "))

    def server(self, *options):
        server = self.enterContext(Helper("real_server.py", "pyftpdlib", self.folder(), *options))
        return [server.values[name] for name in ("port", "user", "password")]

    def check_that_it_works(self, program, environment=None):
        environment = {**os.environ, **(environment or {})}
        run(program, *self.server(), env=environment)
        path, fingerprint = make_certificate(self.folder())
        run(program, *self.server("--tls", path), fingerprint, env=environment)


class Installed(Case):
    @classmethod
    def setUpClass(cls):
        cls.prefix = cls.enterClassContext(tempfile.TemporaryDirectory(prefix="quillbox prefix "))
        run(CMAKE, "--install", os.environ["BUILD_FOLDER"], "--prefix", cls.prefix)
        cls.library = os.path.dirname(glob.glob(os.path.join(cls.prefix, "lib", "**", "*.so"), recursive=True)[0])

    def configure(self, *options):
        build = self.folder()
        run(CMAKE, "-S", os.path.join(HERE, "outside"), "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}",
            *options)
        return build

    def build_with_cmake(self, *options):
        build = self.configure(*options)
        run(CMAKE, "--build", build)
        return os.path.join(build, "outside")

    def test_a_program_is_built_by_cmake(self):
        self.check_that_it_works(self.build_with_cmake())

    def test_what_the_page_of_the_library_shows_can_be_built(self):
        with open(os.path.join(TOP, "docs", "library.md"), encoding="utf-8") as file:
            page = file.read()
        folder = self.folder()
        for language, name in (("cmake", "CMakeLists.txt"), ("cpp", "hello.cpp")):
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write(re.search(f"```{language}\n(.*?)```", page, re.DOTALL)[1])
        build = self.folder()
        run(CMAKE, "-S", folder, "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run(CMAKE, "--build", build)
        done = subprocess.run([os.path.join(build, "hello")], capture_output=True, text=True)
        self.assertRegex(done.stderr, "^not sent: ")

    def test_also_in_a_later_standard_without_global_names_and_without_a_warning(self):
        source = os.path.join(self.folder(), "all.cpp")
        headers = sorted(os.listdir(os.path.join(self.prefix, "include", "quillbox")))
        self.assertIn("FTPManager.h", headers)
        with open(source, "w", encoding="utf-8") as file:
            file.writelines(f"#include <quillbox/{name}>\n" for name in headers)
            file.write("enum { FTPManager, FMServer, FMThread, FTPEncryption, FTPTimeouts, ListingEntry, fmhost };\n")
            file.write("int main() { return quillbox::FTPManager().delegate() == nullptr ? 0 : 1; }\n")
        words = self.flags("--cflags")
        words = [re.sub(r"^-I(?!.*quillbox)", "-isystem", word) for word in words]
        for standard in ("c++20", "c++23"):
            run("c++", f"-std={standard}", "-fPIC", *STRICT, "-DQUILLBOX_NO_GLOBAL_NAMES", *words, "-c", source, "-o",
                os.path.join(self.folder(), "all.o"))

    def flags(self, *options):
        environment = {**os.environ, "PKG_CONFIG_PATH": os.path.join(self.library, "pkgconfig")}
        words = ["pkg-config", *options, "quillboxftp"]
        return [word.replace("\\ ", " ") for word in re.split(r"(?<!\\)\s+", run(*words, env=environment).strip())]

    def test_a_program_is_built_by_pkg_config(self):
        program = os.path.join(self.folder(), "outside")
        source = os.path.join(HERE, "outside", "main.cpp")
        # The other standard is that of the program that is built by CMake.
        run("c++", "-std=c++23", "-fPIC", source, "-o", program, *self.flags("--cflags", "--libs"))
        self.check_that_it_works(program, {"LD_LIBRARY_PATH": self.library})

    def test_another_minor_version_is_not_taken(self):
        with open(os.path.join(HERE, "outside", "CMakeLists.txt"), encoding="utf-8") as file:
            text = file.read()
        folder = self.folder()
        with open(os.path.join(folder, "CMakeLists.txt"), "w", encoding="utf-8") as file:
            file.write(text.replace("QuillboxFTP 0.1", "QuillboxFTP 0.2"))
        with self.assertRaisesRegex(AssertionError, "compatible with requested version"):
            run(CMAKE, "-S", folder, "-B", self.folder(), f"-DCMAKE_PREFIX_PATH={self.prefix}")

    def test_the_library_shows_its_public_names_alone(self):
        path = os.path.join(self.library, "libquillboxftp.so")
        lines = run("nm", "--dynamic", "--demangle", "--defined-only", path).splitlines()
        names = [re.sub(r"^\S+ \w ((typeinfo|typeinfo name|vtable) for )?", "", line).split("@@")[0] for line in lines]
        public = r"quillbox::(FTPManager|FTPManagerDelegate|FMServer|FMThread)(::[~\w]+\(.*)?$"
        strings = r"quillbox::(stringWithoutProtocol|fmhost|fmdir|ftpURLForPort)\("
        strange = [name for name in names if not re.match(f"{public}|{strings}|QUILLBOXFTP_0", name)]
        self.assertEqual(strange, [])
        self.assertEqual([name for name in names if "Private" in name], [])
        self.assertIn("quillbox::FTPManager::abort()", names)

    def test_below_it_there_is_nothing_with_a_window(self):
        shown = run("readelf", "--dynamic", "--wide", os.path.join(self.library, "libquillboxftp.so"))
        needed = re.findall(r"\(NEEDED\).*\[lib(Qt\w+)", shown)
        self.assertEqual(sorted(needed), ["Qt6Core", "Qt6Network"])
        self.assertIn("[libquillboxftp.so.0]", shown)

    def test_it_is_not_unloaded(self):
        program = ("import _ctypes, ctypes, sys; _ctypes.dlclose(ctypes.CDLL(sys.argv[1])._handle);"
                   "print(open('/proc/self/maps').read())")
        path = os.path.join(self.library, "libquillboxftp.so.0")
        self.assertIn("libquillboxftp", run(sys.executable, "-c", program, path))


class AsPart(Case):
    """Takes long: the library is compiled anew."""

    def check(self, *options):
        build = self.folder()
        run(CMAKE, "-S", os.path.join(HERE, "as_part"), "-B", build, "-G", "Ninja", f"-DSOURCES={TOP}", *options)
        run(CMAKE, "--build", build)
        self.check_that_it_works(os.path.join(build, "outside"))
        prefix = self.folder()
        run(CMAKE, "--install", build, "--prefix", prefix)
        if "-DQUILLBOX_INSTALL=ON" in options:
            (library,) = glob.glob(os.path.join(prefix, "lib", "**", "libquillboxftp.so"), recursive=True)
            program = os.path.join(prefix, "bin", "outside")
            self.check_that_it_works(program, {"LD_LIBRARY_PATH": os.path.dirname(library)})
        else:
            self.assertEqual(os.listdir(prefix), ["bin"])
        with open(os.path.join(build, "CMakeCache.txt"), encoding="utf-8") as file:
            self.assertNotRegex(file.read(), "Qt6(Widgets|DBus|Gui)_DIR:PATH=/")

    def test_the_library_is_fetched_by_another_build(self):
        self.check()

    def test_and_added_in_a_folder(self):
        self.check("-DADDED=ON")

    def test_and_installed_with_the_program_that_needs_it(self):
        self.check("-DADDED=ON", "-DQUILLBOX_INSTALL=ON")


if __name__ == "__main__":
    unittest.main()
