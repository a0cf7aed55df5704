# SPDX-License-Identifier: Apache-2.0
# Limits on what the program may take.
import resource, subprocess


def with_memory(tool, size):
    """That much memory, as arguments of subprocess.run(); no limit where a sanitizer is built in, which
    reserves terabytes."""
    def limit(): resource.setrlimit(resource.RLIMIT_AS, (size, size))
    starts = subprocess.run([tool, "--version"], capture_output=True, preexec_fn=limit).returncode == 0
    return {"preexec_fn": limit} if starts else {}
