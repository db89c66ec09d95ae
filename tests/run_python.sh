#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs one numpy/scipy check with Debian's Python, or reports a skip (77).
py=/usr/bin/python3
if [ ! -x "$py" ]; then echo "SKIPPED: $py is not installed"; exit 77; fi
if ! "$py" -c "import numpy, scipy" 2>/dev/null; then echo "SKIPPED: numpy or scipy missing for $py"; exit 77; fi
exec "$py" "$@"
