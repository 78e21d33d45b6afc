"""The project of somebody else (outside/), built against an installed tree, and what its programs have to print."""

import os
import pathlib
import re
import shutil
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
SOURCES = HERE / "outside"
CERTIFICATE = HERE.parent / "schema" / "data" / "Certificate.long_serial.der"

# openssl x509 -inform DER -in Certificate.long_serial.der -noout -serial -subject -modulus -text
SERIAL = int("F0E0D0C0B0A090807060504030201000F1E1D1C1", 16)
SUBJECT = ["Hesse", "Frankfurt", "Example", "Tests", "Real Input", "real@example.test"]
MODULUS = ("B1918F2F7DEAFCEA8DBF33976F9360238621F9F44F5FDFA4843D78B346378EB8"
           "1BAC549EC12EDDB7DBE3BB08517BF581B2B807542CAC52307C6C8D38016897E9")
EXPONENT = 65537

ENGINE = ["sha1: A9993E364706816ABA3E25717850C26C9CD0D89D",  # of "abc", FIPS 180-1 appendix A
          "ber: 30060201050101FF"]  # X.690: SEQUENCE { INTEGER 5, BOOLEAN TRUE }

SHARED_LIBRARY = "libvemtrel_certenroll.so.1"


def run(*command, check=True, **options):
    """The finished command; its output is in the failure that it raises."""
    command = [str(word) for word in command]
    done = subprocess.run(command, capture_output=True, text=True, stdin=options.pop("stdin", subprocess.DEVNULL),
                          check=False, **options)
    if check and done.returncode != 0:
        raise AssertionError(f"{' '.join(command)}\nended with {done.returncode}\n{done.stdout}\n{done.stderr}")
    return done


def library_folder(prefix):
    """Where the libraries are below the prefix, known by the file of pkg-config beside them."""
    found, = pathlib.Path(prefix).rglob("vemtrel_certenroll.pc")
    return found.parent.parent


def configure(prefix, work, *definitions, version="1.0", components="toolkit;toolkit_static", check=True):
    return run("cmake", "-G", "Ninja", "-S", SOURCES, "-B", work, f"-DCMAKE_PREFIX_PATH={prefix}",
               "-DCMAKE_C_FLAGS=-Wall -Wextra -Werror", "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror",
               f"-DWANTED_VERSION={version}", f"-DWANTED_COMPONENTS={components}", *definitions, check=check)


def build_with_cmake(prefix, work, *libraries):
    """The programs, by language and library: {("cpp", "toolkit"): path, ...}."""
    configure(prefix, work, f"-DWANTED_LIBRARIES={';'.join(libraries)}")
    run("cmake", "--build", work)
    programs = {(language, library): work / f"client_{language}_{library}"
                for language in ("cpp", "c") for library in libraries}
    if "toolkit_static" in libraries:
        programs["engine", "toolkit_static"] = work / "engine"
    return programs


def pkg_config(prefix, *arguments, check=True):
    environment = dict(os.environ, PKG_CONFIG_LIBDIR=str(library_folder(prefix) / "pkgconfig"))
    return run("pkg-config", *arguments, env=environment, check=check).stdout.split()


def build_with_pkg_config(prefix, work):
    """The same programs; those with the archive link nothing shared at all, which is what --static is for."""
    os.makedirs(work)
    programs = {}
    for language, compiler in (("cpp", ["c++", "-std=c++17"]), ("c", ["cc", "-std=c99"])):
        common = pkg_config(prefix, "--cflags", "vemtrel_certenroll")
        made = work / f"client_{language}.o"
        run(*compiler, "-Wall", "-Wextra", "-Werror", *common, "-c", SOURCES / f"client.{language}", "-o", made)
        for library, options in (("toolkit", []), ("toolkit_static", ["--static"])):
            programs[language, library] = work / f"client_{language}_{library}"
            run(compiler[0], *(["-static"] if options else []), made, "-o", programs[language, library],
                *pkg_config(prefix, *options, "--libs", "vemtrel_certenroll"))
    return programs


def loaded_libraries(program):
    return re.findall(r"\(NEEDED\).*\[(.+)\]", run("readelf", "-d", program).stdout)


def faults(programs, prefix):
    """What is wrong with the programs: a line for each fault."""
    environment = dict(os.environ, LD_LIBRARY_PATH=str(library_folder(prefix)))
    for (language, library), program in programs.items():
        if (SHARED_LIBRARY in loaded_libraries(program)) != (library == "toolkit"):
            yield f"{program} loads {loaded_libraries(program)}"
        done = run(program, CERTIFICATE, env=environment, check=False)
        if done.returncode != 0:
            yield f"{program} ended with {done.returncode}: {done.stdout}{done.stderr}"
        elif language == "engine":
            if done.stdout.splitlines() != ENGINE:
                yield f"{program} prints {done.stdout}"
        elif language == "cpp":
            expected = [f"serialNumber  INTEGER : {SERIAL}\n", f"serial: {SERIAL}\n", "new number : 7\n"]
            expected += [f"={value}\n" for value in SUBJECT]
            yield from (f"{program} does not print {text!r}" for text in expected if text not in done.stdout)
        else:
            printed = dict(line.split(": ", 1) for line in done.stdout.splitlines())
            if printed["modulus"] != MODULUS or int(printed["exponent"], 16) != EXPONENT:
                yield f"{program} prints {done.stdout}"


def remake(folder):
    """An empty folder."""
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    return pathlib.Path(folder)
