#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Builds the reference of the public headers as HTML pages, and fails for whatever has no text: a function,
# a parameter, a result, a member, a constant.
# usage: check_api_reference.sh OUTPUT_DIR
set -eu
mkdir -p "$1"
VARN_REFERENCE=$(realpath "$1")
export VARN_REFERENCE
cd "$(dirname "$0")/.."
rm -rf "$VARN_REFERENCE"/*.html "$VARN_REFERENCE/search"
python3 -B scripts/doxygen_filter.py --missing
doxygen docs/Doxyfile
