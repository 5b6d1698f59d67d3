#!/usr/bin/env bash
# The reading views' benchmark: bench/run_views_bench.sh [BUILD_DIR] [ARTICLES]
exec "$(dirname "$0")/run_bench.sh" views_bench "$@"
