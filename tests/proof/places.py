"""Where the project is that is tested, and where the tests may write; what is tested can be imported
from here on."""

import importlib.util
import pathlib
import sys

SOURCE, WORK = map(pathlib.Path, sys.argv[1:3])
sys.path.insert(0, str(SOURCE / "scripts"))


def load_script(name):
    """What is in scripts/ under that name, packages of the same name notwithstanding."""
    spec = importlib.util.spec_from_file_location(f"script_{name}", SOURCE / f"scripts/{name}.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module
