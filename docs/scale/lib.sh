# Shared by the examples of this folder: source it, do not run it.
# shards_of FILE SIZE: how many shards of SIZE lines a plain, gzip or zstd file has.
shards_of() {
  local lines
  lines=$(zstd -dcf -- "$1" | awk 'END { print NR }')
  echo $(((lines + $2 - 1) / $2))
}
