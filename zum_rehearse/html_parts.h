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
table, thead, tbody { display: block; }
tr { display: grid; grid-template-columns: 9% 4rem 11.5rem 13% 7.2rem 20% minmax(0, 1fr); }
tbody { content-visibility: auto; contain-intrinsic-block-size: auto 60rem; }
td { overflow-wrap: anywhere; }
tr.machine td { background: #8881; }
th, td { text-align: left; padding: .45rem .6rem; border-bottom: 1px solid #8885; }
thead { position: sticky; top: 0; z-index: 1; background: Canvas; }
thead th { border-bottom: 2px solid #8888; }
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
)css";

inline constexpr char kScript[] = R"js(
"use strict";
(function () {
  var table = document.getElementById("products");
  var filter = document.getElementById("filter");
  var status = document.getElementById("status");
  var shown = document.getElementById("shown");
  var collator = new Intl.Collator("en", { numeric: true });
  var rows = Array.from(table.querySelectorAll("tbody tr"));
  var texts = new Map();
  var waiting = 0;
  document.getElementById("controls").hidden = false;
  function textOf(row) {
    if (!texts.has(row)) { texts.set(row, row.textContent.toLowerCase()); }
    return texts.get(row);
  }
  function group(members) {
    var body = document.createElement("tbody");
    members.forEach(function (row) { body.append(row); });
    return body;
  }
  // Rows that aren't shown leave the document. What is off the screen is laid out group by group.
  function show() {
    var text = filter.value.toLowerCase();
    var fitting = rows.filter(function (row) {
      return (status.value === "" || row.dataset.status === status.value) &&
        (text === "" || textOf(row).includes(text));
    });
    Array.from(table.tBodies).forEach(function (body) { body.remove(); });
    var groups = document.createDocumentFragment();
    for (var i = 0; i < fitting.length; i += 50) { groups.append(group(fitting.slice(i, i + 50))); }
    table.append(groups);
    tellCount(fitting.length);
  }
  function tellCount(count) { shown.textContent = count + " of " + rows.length + " rows"; }
  // Equal texts are compared once, and keep the order of their rows.
  function sorted(column, down) {
    var groups = new Map();
    rows.forEach(function (row) {
      var key = row.children[column].textContent;
      if (!groups.has(key)) { groups.set(key, []); }
      groups.get(key).push(row);
    });
    var keys = Array.from(groups.keys());
    keys.sort(function (a, b) { return down ? collator.compare(b, a) : collator.compare(a, b); });
    return keys.flatMap(function (key) { return groups.get(key); });
  }
  function sort(column, button) {
    var header = button.parentElement;
    var down = header.getAttribute("aria-sort") === "ascending";
    for (var other of table.tHead.rows[0].cells) { other.removeAttribute("aria-sort"); }
    header.setAttribute("aria-sort", down ? "descending" : "ascending");
    rows = sorted(column, down);
    show();
  }
  Array.from(table.tHead.rows[0].cells).forEach(function (cell, column) {
    var button = document.createElement("button");
    button.type = "button";
    button.textContent = cell.textContent;
    cell.textContent = "";
    cell.append(button);
    button.addEventListener("click", function () { sort(column, button); });
  });
  filter.addEventListener("input", function () {
    clearTimeout(waiting);
    waiting = setTimeout(show, 200);
  });
  status.addEventListener("change", show);
  tellCount(rows.length);
}());
)js";

// SHA-256 of the two texts above, in base64.
inline constexpr char kStyleHash[] = "jq4qRQ3l77kyeSdw/lZ9Gf/4OxSEPG5HZfqaN6nt1Dk=";
inline constexpr char kScriptHash[] = "SnHPx2AQfxKqI5axj1EswNUR5nJigWJ7m1bmFgeXgFc=";

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_HTML_PARTS_H_
