#!/usr/bin/env bash
# The store benchmark: bench/run_store_bench.sh [BUILD_DIR] [ARTICLES]
exec "$(dirname "$0")/run_bench.sh" store_bench "$@"
