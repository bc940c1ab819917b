"""What a well-behaved server does at each event: the steps that rules replace."""

import os


def steps_of_good_behaviour(session):
    """The steps for session's present event. What has an effect on files, but moves no data, has it here."""
    answer = _ANSWERS.get(session.verb)
    if answer is None:
        return ["502 Command not implemented"]
    if session.verb not in _BEFORE_LOGIN and not session.logged_in:
        return ["530 Please log in"]
    try:
        return answer(session)
    except OSError as error:
        return [f"550 {os.strerror(error.errno) if error.errno else error}"]


def _user(session):
    return ["230 Already logged in"] if session.logged_in else ["331 Password please"]


def _pass(session):
    if session.logged_in or not session.user_given:
        return ["503 Bad sequence of commands"]
    return ["230 Logged in"]


def _cwd(session):
    path = session.path(session.argument)
    if not session.files.is_folder(path):
        return ["550 No such folder"]
    session.folder = path
    return ["250 Folder changed"]


def _cdup(session):
    session.folder = session.path("..")
    return ["250 Folder changed"]


def _type(session):
    known = session.argument.upper()[:1] in ("A", "I")
    return ["200 Type set"] if known else ["504 Type not known"]


def _size(session):
    path = session.path(session.argument)
    return [f"213 {session.files.size(path)}"] if session.files.is_file(path) else ["550 No such file"]


def _stor(session):
    path = session.path(session.argument)
    if not session.argument or session.files.is_folder(path):
        return ["553 Cannot be a file"]
    try:
        # Also a server of the real kind opens the file before it says 150.
        session.files.open_for_writing(path).close()
    except OSError:
        return ["553 Could not create the file"]
    return ["150 Ready for the data", "read", "226 Transfer complete"]


def _retr(session):
    if not session.files.is_file(session.path(session.argument)):
        return ["550 No such file"]
    return ["150 Here comes the file", "write", "data-close", "226 Transfer complete"]


def _list(_session):
    return ["150 Here comes the listing", "write", "data-close", "226 Listing complete"]


def _mkd(session):
    path = session.path(session.argument)
    session.files.make_folder(path)
    return ['257 "' + path.replace('"', '""') + '" created']


def _dele(session):
    session.files.remove_file(session.path(session.argument))
    return ["250 File deleted"]


def _rmd(session):
    session.files.remove_folder(session.path(session.argument))
    return ["250 Folder deleted"]


def _rnfr(session):
    path = session.path(session.argument)
    if not (session.files.is_file(path) or session.files.is_folder(path)):
        return ["550 No such file"]
    session.rename_from = path
    return ["350 To what name"]


def _rnto(session):
    source, session.rename_from = session.rename_from, None
    if source is None:
        return ["503 Bad sequence of commands"]
    session.files.rename(source, session.path(session.argument))
    return ["250 Renamed"]


def _site(session):
    words = session.argument.split(" ", 2)
    if words[0].upper() != "CHMOD" or len(words) < 3:
        return ["504 Not known"]
    try:
        mode = int(words[1], 8)
    except ValueError:
        return ["501 That is no mode"]
    session.files.change_mode(session.path(words[2]), mode)
    return ["200 Mode changed"]


def _auth(session):
    if session.argument.upper() != "TLS" or not session.can_encrypt:
        return ["504 Not known"]
    return ["encrypt", "234 Go on in TLS"]


def _prot(session):
    if session.argument.upper() not in ("C", "P"):
        return ["536 Not known"]
    return [f"protect {session.argument.upper()}", "200 Fine"]


def _epsv(_session):
    return ["229 Entering Extended Passive Mode (|||{port}|)"]


def _always(*steps):
    return lambda session: list(steps)


_BEFORE_LOGIN = {"connect", "USER", "PASS", "ACCT", "QUIT", "NOOP", "FEAT", "OPTS", "SYST", "AUTH", "PBSZ", "PROT"}

_ANSWERS = {
    "connect": _always("220 Ready"),
    "USER": _user,
    "PASS": _pass,
    "PWD": _always('257 "{folder}" is the present folder'),
    "CWD": _cwd,
    "CDUP": _cdup,
    "AUTH": _auth,
    "PBSZ": _always("200 PBSZ=0"),
    "PROT": _prot,
    "TYPE": _type,
    "EPSV": _epsv,
    "PASV": _always("227 Entering Passive Mode ({pasv})"),
    "STOR": _stor,
    "RETR": _retr,
    "SIZE": _size,
    "LIST": _list,
    "MKD": _mkd,
    "DELE": _dele,
    "RMD": _rmd,
    "RNFR": _rnfr,
    "RNTO": _rnto,
    "SITE": _site,
    "SYST": _always("215 UNIX Type: L8"),
    "FEAT": _always("211-Features", "say  EPSV", "say  PASV", "say  SIZE", "say  UTF8", "211 End"),
    "OPTS": _always("200 Fine"),
    "NOOP": _always("200 Fine"),
    "QUIT": _always("221 Goodbye", "close"),
}
