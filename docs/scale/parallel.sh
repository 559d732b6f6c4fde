#!/usr/bin/env bash
# Translates a large file with GNU parallel, a shard a job.
#   parallel.sh MODEL INPUT OUTPUT_DIR [SHARD_SIZE [JOBS]]
# A job that fails or is killed is run again, up to five times. Killed as a whole and started again,
# it does only what is missing. For other hosts set PARALLEL='--sshlogin host1,host2'; the folders
# must be the same there.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
model=$1 input=$2 output=$3 size=${4:-100000} jobs=${5:-$(nproc)}
kora=${KORA_COMMAND:-kora}

mkdir -p "$output"
translate=("$kora" translate -m "$model" --output-dir "$output" --shard-size "$size")
seq 0 $(($(shards_of "$input" "$size") - 1)) |
  parallel --will-cite --jobs "$jobs" --retries 5 --joblog "$output/jobs.log" \
    "${translate[@]}" --shards '{}' "$input" > /dev/null

# Finds all shards there, writes manifest.json, prints the report of the whole.
"${translate[@]}" "$input"
