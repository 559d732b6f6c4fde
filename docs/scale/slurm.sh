#!/usr/bin/env bash
# Translates a large file on Slurm: an array of tasks over the shards, then one that checks all.
#   slurm.sh MODEL INPUT OUTPUT_DIR [SHARD_SIZE [TASKS]]
# Paths must be the same on all nodes. Waits for the end. Tasks that are killed, or lose their node,
# go back into the queue and do what is missing of their shards; started again, so does the whole.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
model=$1 input=$2 output=$3 size=${4:-100000} tasks=${5:-10}
shards=$(shards_of "$input" "$size")
each=$(((shards + tasks - 1) / tasks))
each=$((each > 0 ? each : 1))

mkdir -p "$output"
export KORA_COMMAND=${KORA_COMMAND:-kora}
options=(--parsable --requeue --ntasks=1 --cpus-per-task=1 --open-mode=append)
array=$(sbatch "${options[@]}" --job-name=kora --array="0-$(((shards - 1) / each))" \
  --output="$output/task-%a.log" "$(dirname "$0")/translate.slurm" "$model" "$input" "$output" \
  "$size" "$each")
# Whatever became of the tasks, this one does what they left, writes manifest.json and the report.
sbatch "${options[@]}" --job-name=kora-check --dependency="afterany:$array" --wait \
  --output="$output/report.log" "$(dirname "$0")/translate.slurm" "$model" "$input" "$output" "$size"
