#!/usr/bin/env bash
# Screenshots of the desktop program for the quick-start guide, taken on the
# X display in $DISPLAY; `make screenshots` runs it inside xvfb-run.
#
#   tools/screenshots.sh [BUILD_DIR [OUT_DIR]]      (build, docs/screenshots)
#
# It runs the demo (quorvel-cli demo), which starts the desktop program on a
# virtual bus: the sample session's Master window polls the Slave window's
# emulated meter, and a Monitor window listens. The program is driven by its
# menu keys and by double-clicks on window titles, so no window manager is
# needed. The pictures replace those in OUT_DIR only when every one of them
# was taken.
#
# Environment: SCREENSHOT_WAIT bounds the wait for the program's window in
# seconds (30), SCREENSHOT_SETTLE is the pause before a picture (3).
set -euo pipefail

build=${1:-build}
out=${2:-docs/screenshots}
program=$build/bin/quorvel
cli=$build/bin/quorvel-cli
session=$build/bin/Coriolis.qvs
wait_limit=${SCREENSHOT_WAIT:-30}
settle=${SCREENSHOT_SETTLE:-3}

die() {
  echo "screenshots: $*" >&2
  exit 1
}

[[ -n ${DISPLAY:-} ]] || die "no X display; run it as: make screenshots"
for tool in import xdotool; do
  command -v "$tool" >/dev/null || die "$tool is missing: make deps installs it"
done
[[ -x $cli && -f $session ]] || die "no build in $build: run make build first"
[[ -x $program ]] || die "no program $program"

work=$(mktemp -d)
demo_pid='' program_pid=''

# Everything this run started ends with it, however it ends: the desktop
# program first, whose end ends the demo.
stop() {
  local pid
  for pid in $program_pid $demo_pid; do
    kill -TERM "$pid" 2>/dev/null || continue
    for _ in $(seq 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
    kill -KILL "$pid" 2>/dev/null || true
  done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap stop EXIT
trap 'exit 130' INT TERM HUP

# Stops the run when the demo or the program has ended by itself.
check_running() {
  if ! kill -0 "$demo_pid" 2>/dev/null; then
    die "the demo ended $1: $(tail -n 5 "$work/demo.log")"
  fi
  if [[ -n $program_pid ]] && ! kill -0 "$program_pid" 2>/dev/null; then
    die "the program ended $1: $(tail -n 5 "$work/demo.log")"
  fi
}

# until_ok SECONDS WHAT COMMAND...: runs COMMAND every 0.2 s until it
# succeeds, at most SECONDS long.
until_ok() {
  local limit=$1 what=$2
  shift 2
  local deadline=$((SECONDS + limit))
  until "$@"; do
    check_running "while waiting for $what"
    ((SECONDS < deadline)) || die "no $what after $limit s"
    sleep 0.2
  done
}

# Settings (recent lists, window places) of this run stay in the scratch folder.
export XDG_CONFIG_HOME=$work/config

"$cli" demo --session "$session" >"$work/demo.log" 2>&1 &
demo_pid=$!
desktop_pid() { pgrep -P "$demo_pid" -x quorvel; }
has_desktop() { program_pid=$(desktop_pid) && [[ -n $program_pid ]]; }
until_ok "$wait_limit" "desktop program from the demo" has_desktop
main_window() { timeout 5 xdotool search --onlyvisible --name '^Quorvel' 2>/dev/null | head -n 1; }
has_main_window() { [[ -n $(main_window) ]]; }
until_ok "$wait_limit" "Quorvel window" has_main_window
window=$(main_window)

# Without a window manager the frame keeps its own size: give it the screen.
# Each X request is bounded: a stuck display must not stall the run.
read -r width height < <(timeout 5 xdotool getdisplaygeometry)
timeout 5 xdotool windowmove "$window" 0 0 windowsize "$window" "$width" "$height" || die "could not place the window"

keys() {
  timeout 5 xdotool windowfocus --sync "$window" 2>/dev/null || true
  local key
  for key in "$@"; do
    timeout 5 xdotool key --clearmodifiers "$key" || die "could not press $key"
    sleep 0.3
  done
}

shoot() {
  sleep "$settle"
  check_running "before $1"
  timeout 30 import -window root "$work/$1" || die "could not capture $1"
  echo "screenshots: $1"
}

# Double-clicks the title bar of a device window at X,Y, which maximises the
# window.
title_double_click() {
  timeout 5 xdotool mousemove --window "$window" "$1" "$2" click --repeat 2 --delay 100 1 ||
    die "could not click the title at $1,$2"
  sleep 0.3
}

# The Traffic window is a window of its own, taken alone.
window_named() { timeout 5 xdotool search --onlyvisible --name "$1" 2>/dev/null | head -n 1; }
has_window_named() { [[ -n $(window_named "$1") ]]; }
shoot_window() {
  local name=$1 title=$2 id
  until_ok 10 "window '$title'" has_window_named "$title"
  sleep "$settle"
  check_running "before $name"
  id=$(window_named "$title")
  timeout 30 import -window "$id" "$work/$name" || die "could not capture $name"
  echo "screenshots: $name"
}

# The menu keys of the desktop program: Connection (Alt+O) > COM Parameters
# (P) and Traffic (T); Window (Alt+W) > Tile to Fit (F). The demo has
# connected every window. Tiled to fit a screen too small for three panels
# side by side, the windows overlap evenly from the top left corner in the
# order they opened: Master, Slave, Monitor. The Master's title bar lies just
# below the menu bar, the Slave's a third of the spare height lower.
#
# A page is narrower than the screen: a picture of one window shows that
# window alone, the frame shrunk round a maximised window's panel, so that
# its text stays readable on the page.
shoot_panel() {
  timeout 5 xdotool windowsize "$window" "$panel_width" "$panel_height" || die "could not shrink the window"
  sleep "$settle"
  check_running "before $1"
  timeout 30 import -window "$window" "$work/$1" || die "could not capture $1"
  echo "screenshots: $1"
  timeout 5 xdotool windowsize "$window" "$width" "$height" || die "could not restore the window"
  sleep 0.3
}
# The sample's panel with the menu bar above it and the statistics line under it.
panel_width=${SCREENSHOT_PANEL_WIDTH:-712}
panel_height=${SCREENSHOT_PANEL_HEIGHT:-525}
keys alt+w f
shoot frame.png
title_double_click $((width / 6)) 30
shoot_panel master.png
keys alt+w f
title_double_click $((width / 2)) "${SLAVE_TITLE_Y:-160}"
shoot_panel slave.png
keys alt+o p
shoot_window com-settings.png '^COM Settings'
# The dialog has the focus to itself: Escape goes to it.
timeout 5 xdotool windowfocus --sync "$(window_named '^COM Settings')" key Escape || die "could not close COM Settings"
sleep 0.3
keys alt+o t
shoot_window traffic.png '^Traffic COM'
# The Master's trend: mass flow ticked as it opens, density (its own axis)
# ticked from the list; a while of answers to draw. The Traffic window is
# taken off the screen first: it covers the Master's title.
timeout 5 xdotool windowunmap "$(window_named '^Traffic COM')" || die "could not hide the Traffic window"
keys alt+w f
title_double_click $((width / 6)) 30
keys alt+m t
until_ok 10 "window 'Trend'" has_window_named '^Trend'
trend=$(window_named '^Trend')
timeout 5 xdotool windowsize "$trend" 900 520 windowfocus --sync "$trend" key Down key space || die "could not tick density"
sleep "${SCREENSHOT_TREND_SECONDS:-20}"
shoot_window trend.png '^Trend'

mkdir -p "$out"
for picture in frame.png slave.png master.png com-settings.png traffic.png trend.png; do
  mv -f "$work/$picture" "$out/$picture"
done
echo "screenshots: saved in $out"
