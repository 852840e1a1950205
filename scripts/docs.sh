#!/usr/bin/env bash
# Builds the documentation into build/docs/html and fails on the first public member without a comment.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
mkdir -p build/docs
VELTRAND_DOCS_OUTPUT=build/docs doxygen docs/Doxyfile
echo "build/docs/html/index.html"
