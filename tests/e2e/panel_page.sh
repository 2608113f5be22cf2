# Helpers for end-to-end tests that look at the panel's tabs and pages and click on
# them. Source it after x11_session.sh; they use $window, $scratch, $out and $program (the
# skin's pictures are found in its build tree).
images=$(find "$(dirname "$(dirname "$program")")" -path '*skin/images' -type d | head -1)

shot() { snap "$out/$1.png"; }
# page_click X Y: a click at page coordinates (under the 19-pixel title and 30-pixel tab bar).
page_click() { xdotool mousemove --window "$window" "$1" $(( $2 + 49 )) click 1; }
# tab_centres: x of the middle of each tab's label, read off the tab bar.
tab_centres() {
  snap "$scratch/tabs.png"
  convert "$scratch/tabs.png" -crop "x18+0+25" +repage -colorspace Gray -threshold 40% -scale "x1!" -threshold 1% txt:- |
    awk -F'[,:]' 'BEGIN { start = -1 }
      NR > 1 && ($0 ~ /#FFFFFF|white/) { x = $1; if (start < 0 || x - last > 12) { if (start >= 0) print int((start + last) / 2); start = x } last = x }
      END { if (start >= 0) print int((start + last) / 2) }'
}
tab_count() { tab_centres | wc -l; }
tabs_are() { [ "$(tab_count)" = "$1" ]; }
wait_tabs() { eventually 10 tabs_are "$1"; }   # wait_tabs N: N tabs within 10 s
select_tab() { xdotool mousemove --window "$window" "$(tab_centres | sed -n "$1p")" 34 click 1; }
page_picture() { snap "$scratch/p.png"; convert "$scratch/p.png" -crop "+0+49" +repage rgb:- | md5sum; }
# shows IMAGE: the shown page, below the tab bar, is that picture on the window's background
# (within 10 s).
shows() { eventually 10 shows_now "$1"; }
shows_now() {
  snap "$scratch/s.png"
  local w h
  w=$(identify -format %w "$images/$1"); h=$(identify -format %h "$images/$1")
  # Rows 1 to 8 of the page: above every control of every page.
  convert "$scratch/s.png" -crop "${w}x8+0+50" +repage "$scratch/page.png"
  convert "$images/$1" -background "#3A3E43" -flatten -crop "${w}x8+0+1" +repage "$scratch/picture.png"
  [ "$(differing_pixels "$scratch/page.png" "$scratch/picture.png")" -le 50 ]
}

# Controls of the easy and expert layouts: page position of the middle of each (from the skin).
declare -A easy_switch=( [8]="422 124" [9]="157 125" [10]="38 125" [11]="98 125" [12]="284 123" )
