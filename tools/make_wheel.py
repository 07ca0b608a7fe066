"""Pack the module and its libraries into a wheel for the interpreter that runs this."""
import argparse
import base64
import hashlib
import os
import re
import sys
import zipfile

NAME = "libZelCameraApiPy"


def project_version(root):
    """Version in CMakeLists.txt."""
    with open(os.path.join(root, "CMakeLists.txt"), encoding="utf-8") as text:
        return re.search(r"project\(zelcam VERSION ([0-9.]+)", text.read()).group(1)


def digest(data):
    """Hash as wheels record it."""
    raw = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=")
    return "sha256=" + raw.decode()


def main():
    """Writes the wheel and prints its name."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True)
    parser.add_argument("--output", default="dist")
    arguments = parser.parse_args()
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    version = project_version(root)
    tag = "cp%d%d-cp%d%d-linux_x86_64" % (sys.version_info[:2] * 2)
    folder = os.path.join(arguments.build, "python")
    files = sorted(name for name in os.listdir(folder)
                   if name.endswith((".so", ".cti", ".pyi")))
    if NAME + ".so" not in files:
        sys.exit("%s has no %s.so: build first" % (folder, NAME))
    os.makedirs(arguments.output, exist_ok=True)
    wheel = os.path.join(arguments.output, "%s-%s-%s.whl" % (NAME, version, tag))
    info = "%s-%s.dist-info/" % (NAME, version)
    contents = {name: open(os.path.join(folder, name), "rb").read() for name in files}
    contents[info + "METADATA"] = (
        "Metadata-Version: 2.1\nName: %s\nVersion: %s\n"
        "Summary: Machine-vision cameras from Python\nRequires-Python: ==%d.%d.*\n" % (
            NAME, version, *sys.version_info[:2])).encode()
    contents[info + "WHEEL"] = (
        "Wheel-Version: 1.0\nGenerator: make_wheel\nRoot-Is-Purelib: false\nTag: %s\n" % tag).encode()
    record = "".join("%s,%s,%d\n" % (name, digest(data), len(data))
                     for name, data in contents.items()) + info + "RECORD,,\n"
    with zipfile.ZipFile(wheel, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, data in contents.items():
            entry = zipfile.ZipInfo(name)
            entry.external_attr = (0o755 if name.endswith((".so", ".cti")) else 0o644) << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, data)
        archive.writestr(info + "RECORD", record)
    print(wheel)


if __name__ == "__main__":
    main()
