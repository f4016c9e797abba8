"""On what a run was made: the processor, the compiler, the peers' libraries."""

import re
import subprocess

# What people call it, and Debian's package of it.
LIBRARIES = (("POCO", "libpoco-dev"), ("Qt", "qtbase5-dev"), ("KConfig", "libkf5config-dev"),
             ("GLib", "libglib2.0-dev"), ("Boost", "libboost-dev"), ("libxml2", "libxml2-dev"))


def processor_model(cpuinfo):
    """@param cpuinfo text of /proc/cpuinfo."""
    found = re.search(r"^(?:model name|Model|cpu model)\s*:\s*(.+)$", cpuinfo, re.MULTILINE)
    return found[1].strip() if found else "unknown"


def compiler_of(program):
    """What a program says of the compiler that made it. @param program its bytes."""
    found = re.search(rb"GCC: \([^)]*\) [0-9][0-9.]*|clang version [0-9][0-9.]*", program)
    return found[0].decode().replace("GCC:", "GCC") if found else "unknown"


def upstream(version):
    """A version without what Debian adds to it."""
    return re.sub(r"^\d+:", "", version).split("+")[0].rsplit("-", 1)[0]


def versions(libraries, ask):
    """Name to version of the libraries that are installed. @param ask package -> its version, empty if it is not
    installed."""
    found = {name: upstream(ask(package)) for name, package in libraries}
    return {name: version for name, version in found.items() if version}


def ask_dpkg(package):
    try:
        run = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True,
                             check=False)
    except FileNotFoundError:
        return ""
    return run.stdout if run.returncode == 0 else ""


def describe(context, module):
    """@param context as Google Benchmark tells it. @param module path of the module."""
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        model = processor_model(file.read())
    with open(module, "rb") as file:
        compiler = compiler_of(file.read())
    return {
        "processor": model,
        "cores": context["num_cpus"],
        "mhz": context["mhz_per_cpu"],
        "compiler": compiler,
        "libraries": versions(LIBRARIES, ask_dpkg),
        "load_at_start": context["load_avg"],
        "date": context["date"],
    }


def sentence(machine):
    load = ", ".join(f"{one:.2f}" for one in machine["load_at_start"]) or "unknown"
    libraries = ", ".join(f"{name} {version}" for name, version in machine["libraries"].items())
    return (f"Machine: {machine['processor']}, {machine['cores']} cores at {machine['mhz']} MHz, load {load} at the "
            f"start, {machine['date'][:10]}. Compiler: {machine['compiler']}. Libraries: {libraries or 'none found'}.")
