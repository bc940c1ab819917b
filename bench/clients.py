"""The other clients: the commands that do what the program does."""

import os


class Curl:
    name = "curl"

    def __init__(self, login, address="127.0.0.1"):
        self._user = ["--user", f"{login['user']}:{login['password']}"]
        self._location = f"ftp://{address}:{login['port']}/"

    def upload(self, files):
        words = [word for file in files for word in ("--upload-file", file, self._location)]
        return ["curl", "-sS", "--fail-early", *self._user, *words]

    def download(self, names, folder):
        """Into files of those names; one that comes twice is fetched twice, over a kept connection."""
        words = [word for name in names for word in ("--output", os.path.join(folder, name), self._location + name)]
        return ["curl", "-sS", "--fail-early", *self._user, *words]

    def list(self, times=1):
        return ["curl", "-sS", *self._user, *[self._location] * times]


class Lftp:
    name = "lftp"
    # It would set each file's time, at a round trip each, which no other client does.
    settings = (
        "set ftp:ssl-allow no; set net:max-retries 1; set ftp:prefer-epsv yes; set cmd:interactive no; "
        "set ftp:use-mdtm no; set ftp:use-site-utime no; set ftp:use-site-utime2 no; "
    )

    def __init__(self, login, address="127.0.0.1", sync=None):
        """sync: whether each command waits for the reply to the one before; None leaves it to lftp."""
        choice = "" if sync is None else f"set ftp:sync-mode {'on' if sync else 'off'}; "
        self._open = f"{self.settings}{choice}open -u {login['user']},{login['password']} -p {login['port']} {address}; "

    def upload(self, files):
        return self._command("mput " + " ".join(files))

    def download(self, names, folder):
        return self._command(f"lcd {folder}; " + "; ".join(f"get {name}" for name in names))

    def list(self, times=1):
        return self._command("; ".join(["ls"] * times))

    def _command(self, text):
        return ["lftp", "--norc", "-c", self._open + text]


class Ncftp:
    name = "ncftp"

    def __init__(self, login, address="127.0.0.1"):
        self._login = ["-V", "-t", "30", "-u", login["user"], "-p", login["password"], "-P", login["port"], address]

    def upload(self, files):
        return ["ncftpput", *self._login, ".", *files]
