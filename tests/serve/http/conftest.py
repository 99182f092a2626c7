# Every test gets its own server, which must end cleanly.
import pytest

from toy_server import Toy, openssl


@pytest.fixture
def start(tmp_path):
    """Starts a server with these options."""
    started = []

    def begin(**options):
        toy = Toy(tmp_path / f"log{len(started)}", **options)
        started.append(toy)
        return toy

    yield begin
    statuses = [toy.finish() for toy in started]
    assert statuses == [0] * len(started), [toy.log() for toy in started]


@pytest.fixture
def toy(start):
    return start()


def signed(directory, name, authority, purpose):
    """A key and a certificate of that name, signed by the authority."""
    key, request, certificate = (directory / f"{name}.{kind}" for kind in ("key", "csr", "crt"))
    openssl("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", f"/CN={name}",
            "-keyout", key, "-out", request)
    extensions = directory / f"{name}.ext"
    extensions.write_text(f"subjectAltName=DNS:localhost,IP:127.0.0.1\nextendedKeyUsage={purpose}\n")
    openssl("x509", "-req", "-in", request, "-CA", directory / f"{authority}.crt", "-CAkey", directory / f"{authority}.key",
            "-CAcreateserial", "-days", "2", "-extfile", extensions, "-out", certificate)


@pytest.fixture(scope="session")
def certificates(tmp_path_factory):
    """A folder with two authorities, a server's certificate, and a client's of either authority."""
    directory = tmp_path_factory.mktemp("certificates")
    for authority in ("ca", "stranger"):
        openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2",
                "-subj", f"/CN={authority}", "-keyout", directory / f"{authority}.key", "-out", directory / f"{authority}.crt")
    signed(directory, "server", "ca", "serverAuth")
    signed(directory, "renewed", "ca", "serverAuth")
    signed(directory, "client", "ca", "clientAuth")
    signed(directory, "other", "stranger", "clientAuth")
    return directory


@pytest.fixture
def passwords(tmp_path):
    """A credentials file: monitor's password is "secret"."""
    path = tmp_path / "credentials"
    path.write_text("monitor:" + openssl("passwd", "-6", "-salt", "abc", "secret").decode())
    return path
