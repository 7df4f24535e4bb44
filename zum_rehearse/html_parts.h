// The page's style and script, and their hashes, by which the page's policy knows them.
#ifndef ZUM_REHEARSE_HTML_PARTS_H_
#define ZUM_REHEARSE_HTML_PARTS_H_

namespace zum_rehearse {

inline constexpr char kStyle[] = R"css(
:root { color-scheme: light dark; font: 15px/1.45 system-ui, sans-serif; }
body { margin: 1.5rem; max-width: 90rem; }
h1 { font-size: 1.4rem; margin: 0 0 .2rem; }
p { margin: .2rem 0 .8rem; }
.controls { display: flex; gap: .8rem; flex-wrap: wrap; align-items: center; margin: 1rem 0; }
.controls input, .controls select { font: inherit; padding: .25rem .4rem; }
.controls input { min-width: 18rem; }
table { border-collapse: collapse; width: 100%; table-layout: fixed; }
th:nth-child(1) { width: 9%; } th:nth-child(2) { width: 4rem; } th:nth-child(3) { width: 11.5rem; }
th:nth-child(4) { width: 13%; } th:nth-child(5) { width: 5.5rem; } th:nth-child(6) { width: 20%; }
td { overflow-wrap: anywhere; }
tr.machine td { background: #8881; }
th, td { text-align: left; vertical-align: top; padding: .45rem .6rem; border-bottom: 1px solid #8885; }
thead th { position: sticky; top: 0; background: Canvas; border-bottom: 2px solid #8888; }
thead button { all: unset; cursor: pointer; font-weight: 600; }
thead button:focus-visible { outline: 2px solid; }
thead th[aria-sort=ascending] button::after { content: " \25B2"; }
thead th[aria-sort=descending] button::after { content: " \25BC"; }
td ul { margin: 0; padding-left: 1.1rem; }
code, dd { font: 13px/1.4 ui-monospace, monospace; overflow-wrap: anywhere; }
dl { margin: 0; }
dt { font-size: 13px; opacity: .7; }
dd { margin: 0 0 .3rem; }
details pre { white-space: pre-wrap; overflow-wrap: anywhere; max-height: 20rem; overflow: auto; }
.bad { color: #c22; } .good { color: #182; } .some { color: #a60; }
@media (prefers-color-scheme: dark) { .bad { color: #f77; } .good { color: #6c6; } .some { color: #ec6; } }
tr[hidden] { display: none; }
)css";

inline constexpr char kScript[] = R"js(
"use strict";
(function () {
  var table = document.getElementById("products");
  var body = table.tBodies[0];
  var filter = document.getElementById("filter");
  var status = document.getElementById("status");
  var shown = document.getElementById("shown");
  document.getElementById("controls").hidden = false;
  function apply() {
    var text = filter.value.toLowerCase();
    var count = 0;
    for (var row of body.rows) {
      var fits = row.textContent.toLowerCase().indexOf(text) >= 0 &&
        (status.value === "" || row.dataset.status === status.value);
      row.hidden = !fits;
      if (fits) { count += 1; }
    }
    shown.textContent = count + " of " + body.rows.length + " rows";
  }
  function sort(column, button) {
    var header = button.parentElement;
    var down = header.getAttribute("aria-sort") === "ascending";
    for (var other of table.tHead.rows[0].cells) { other.removeAttribute("aria-sort"); }
    header.setAttribute("aria-sort", down ? "descending" : "ascending");
    var rows = Array.from(body.rows);
    rows.sort(function (a, b) {
      var order = a.cells[column].textContent.localeCompare(b.cells[column].textContent, "en", { numeric: true });
      return down ? -order : order;
    });
    body.append.apply(body, rows);
  }
  Array.from(table.tHead.rows[0].cells).forEach(function (cell, column) {
    var button = document.createElement("button");
    button.type = "button";
    button.textContent = cell.textContent;
    cell.textContent = "";
    cell.append(button);
    button.addEventListener("click", function () { sort(column, button); });
  });
  filter.addEventListener("input", apply);
  status.addEventListener("change", apply);
  apply();
}());
)js";

// SHA-256 of the two texts above, in base64.
inline constexpr char kStyleHash[] = "uWzxvWBeeBPTnfXL3u0BNlC6OjkbDqgoAjhiGDxjAh0=";
inline constexpr char kScriptHash[] = "JZflcIs6UWVNqx2xGPSTk4IsQ2Je1jusragjkZJ28CU=";

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_HTML_PARTS_H_
