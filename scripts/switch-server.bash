# For other scripts: virtual switch servers on the loopback interface, and settings that name them. When the script ends,
# its background processes are ended by process id, the latest first. Sets $folder, a scratch folder that is removed
# then.
# shellcheck shell=bash

patience=20 # seconds for any one step
folder=$(mktemp -d)

clean_up() {
    local status=$? pid
    trap - EXIT
    set +e
    # Only running ones: the id of an ended process may belong to another process by now.
    for pid in $(jobs -pr | tac); do
        kill "$pid"
        wait "$pid"
    done
    rm -rf "$folder"
    exit "$status"
}
trap clean_up EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

fail() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# start_switch_server BIN NAME INPUTS OUTPUTS [OPTION...]: returns once the server is announced, with its process id in $!, its
# arguments in $server_arguments and the lines that it has printed in $server_said.
start_switch_server() {
    local bin=$1 name=$2 line lines
    cat >"$folder/labels.json" <<'JSON'
{
    "inputs": ["Camera 1", "Camera 2", "Camera 3", "Camera 4", "News desk", "Graphics", "Player", "Test picture"],
    "outputs": ["Programme", "Preview", "Studio monitor", "Recorder"]
}
JSON
    server_arguments=(--name "$name" --inputs "$3" --outputs "$4" --labels "$folder/labels.json"
        --address 127.0.0.1 --interface lo "${@:5}")
    server_said=()
    mkfifo "$folder/server-output"
    "$bin/velmora-switch-server" "${server_arguments[@]}" >"$folder/server-output" &
    exec {lines}<"$folder/server-output" # stays open, because the server may print more
    rm "$folder/server-output"
    while IFS= read -r -t "$patience" line <&"$lines"; do
        server_said+=("$line")
        [[ $line != "announced as \"$name\"" ]] || return 0
    done
    fail "the switch server was not announced as \"$name\""
}

# write_settings FILE NAME LABEL...: writes settings that name the server, with one configured output for each label.
write_settings() {
    local file=$1 name=$2 number=0 label
    shift 2
    {
        printf '<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0">\n<dict>\n'
        printf '    <key>selectedDeviceName</key> <string>%s</string>\n    <key>configuredOutputs</key>\n    <array>\n' "$name"
        for label; do
            printf '        <dict>\n            <key>label</key> <string>%s</string>\n' "$label"
            printf '            <key>outputType</key> <string>output</string>\n'
            printf '            <key>outputNumber</key> <integer>%d</integer>\n' "$number"
            printf '            <key>defaultInputNumber</key> <integer>%d</integer>\n        </dict>\n' "$number"
            number=$((number + 1))
        done
        printf '    </array>\n</dict>\n</plist>\n'
    } >"$file"
}
