// One set of colours for each scheme. Texts keep a contrast of at least 4.5 to 1 to what they stand on.
#include "formats/page_style.h"

namespace diskmgt {

const char* const kPageStyle = R"css(
:root {
  color-scheme: light dark;
  --ground: #f3f4f6; --card: #ffffff; --ink: #1a212c; --soft: #566173; --line: #e1e5eb; --track: #e6e9ef;
  --data: #2f6bc4; --start: #a3590b; --pool: #0d756e; --swap: #7a4bb8; --other: #5f6b7c; --frame: #b9c1cd;
  --warn-ground: #fff6e0; --warn-line: #e3b341; --full: #b3372b; --link: #235aa8;
}
@media (prefers-color-scheme: dark) {
  :root {
    --ground: #0f1319; --card: #171d26; --ink: #e4e9f0; --soft: #9ba8ba; --line: #29323f; --track: #2b3544;
    --data: #3a74c9; --start: #a8621a; --pool: #17807a; --swap: #8559c0; --other: #667385; --frame: #465365;
    --warn-ground: #2b2412; --warn-line: #a8842c; --full: #e0685b; --link: #7fb0f5;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0; padding: 2.5rem 1.5rem 3rem; background: var(--ground); color: var(--ink);
  font: 0.9375rem/1.5 system-ui, -apple-system, "Segoe UI", "Noto Sans", "DejaVu Sans", sans-serif;
}
body > * { max-width: 66rem; margin-left: auto; margin-right: auto; }
h1, h2 { margin: 0; line-height: 1.25; font-weight: 600; overflow-wrap: anywhere; }
h1 { font-size: 1.75rem; letter-spacing: -0.015em; }
h2 { font-size: 1.125rem; }
.identity { font-size: 0.875rem; font-weight: 400; color: var(--soft); margin-left: 0.375rem; }
a { color: var(--link); }
.contents { margin-top: 1.5rem; }
.contents ul { columns: 9.5rem; column-gap: 1.5rem; list-style: none; margin: 0.5rem 0 0; padding: 0; font-size: 0.875rem; }
.contents li { break-inside: avoid; }
p { margin: 0.25rem 0; }
.soft { color: var(--soft); }
.name { font-family: ui-monospace, "Cascadia Mono", "Noto Sans Mono", "DejaVu Sans Mono", monospace; font-size: 0.92em;
  overflow-wrap: break-word; unicode-bidi: isolate; }
.figures { display: flex; flex-wrap: wrap; gap: 0.5rem 2.75rem; margin: 1.5rem 0 0; }
.figures dt { color: var(--soft); font-size: 0.8125rem; }
.figures dd { margin: 0; font-size: 1.375rem; font-weight: 600; letter-spacing: -0.01em;
  font-variant-numeric: tabular-nums; }
.key { display: flex; flex-wrap: wrap; gap: 0.25rem 1.25rem; list-style: none; margin: 1.75rem auto 0.75rem; padding: 0;
  font-size: 0.8125rem; color: var(--soft); }
.card { background: var(--card); border: 1px solid var(--line); border-radius: 0.625rem; padding: 1.375rem 1.5rem 1.5rem;
  margin-bottom: 1.25rem; }
.card > header { display: flex; flex-wrap: wrap; align-items: baseline; justify-content: space-between;
  gap: 0.125rem 1.5rem; }
.warn { background: var(--warn-ground); border-color: var(--warn-line); margin-top: 1.5rem; }
.warn ul { margin: 0.5rem 0 0; padding-left: 1.25rem; }
.warn li { overflow-wrap: anywhere; }
.note { font-size: 0.875rem; color: var(--soft); margin-top: 0.625rem; }

.picture { margin-top: 1rem; overflow: hidden; }
.bar, .layer { display: flex; gap: 2px; align-items: flex-start; }
.layer { margin-top: 2px; }
.column { flex: 0 1 0; min-width: 4px; }
.rest { flex: 0 1 0; }
.box { position: relative; height: 3.75rem; overflow: hidden; border-radius: 4px; }
.layer .box { height: 2.25rem; }
.box span, .box small { display: block; padding: 0 0.5rem; white-space: nowrap; color: #fff; line-height: 1.3; }
.box span { padding-top: 0.4375rem; font-size: 0.8125rem; font-weight: 600; }
.layer .box span { padding-top: 0.25rem; }
.box small { font-size: 0.75rem; }
.box i { position: absolute; left: 0.5rem; right: 0.5rem; bottom: 0.4375rem; height: 4px; border-radius: 2px;
  background: rgb(255 255 255 / 30%); overflow: hidden; }
.layer .box i { bottom: 0.25rem; }
.box i b { display: block; height: 100%; background: #fff; }
.box.container { display: flex; gap: 2px; height: auto; padding: 4px; border: 1.5px solid var(--frame); }
.box.container .box { height: calc(3.75rem - 11px); }
.box.container .layer .box { height: 2.25rem; }
.box.reference { border: 1.5px dashed var(--frame); }
.box.reference span { color: var(--ink); font-weight: 500; }
.dot { display: inline-block; width: 0.6875rem; height: 0.6875rem; border-radius: 3px; margin-right: 0.5rem; }
.box, .dot, .meter { -webkit-print-color-adjust: exact; print-color-adjust: exact; }
.data { background: var(--data); } .start { background: var(--start); } .pool { background: var(--pool); }
.swap { background: var(--swap); } .other { background: var(--other); }
.dot.container { border: 1.5px solid var(--frame); }
.gap { background: repeating-linear-gradient(-45deg, var(--track) 0 3px, transparent 3px 7px); }
.box.gap, .dot.gap { border: 1px solid var(--track); }
.dot.whole { border: 1.5px solid var(--soft); border-radius: 50%; }

.scroll { overflow-x: auto; }
.scroll:focus-visible { outline: 2px solid var(--data); outline-offset: 2px; }
table { width: 100%; border-collapse: collapse; margin-top: 0.375rem; }
caption { text-align: left; color: var(--soft); font-size: 0.8125rem; font-weight: 600; padding-bottom: 0.25rem;
  padding-top: 1.25rem; }
th, td { text-align: left; vertical-align: top; padding: 0.4375rem 1.25rem 0.4375rem 0; border-top: 1px solid var(--line); }
thead th { border-top: 0; padding-top: 0; color: var(--soft); font-size: 0.75rem; font-weight: 500; white-space: nowrap; }
tbody th { font-weight: 500; }
.number { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }
th:last-child, td:last-child { padding-right: 0; }
.device { white-space: nowrap; }
.place { min-width: 9rem; }
.source { min-width: 7rem; }
tbody th { padding-left: calc(var(--depth, 0) * 1.125rem); }
.cim.no span, .cim.unknown span, .cim.differs span { border-left: 3px solid var(--warn-line); padding-left: 0.5rem;
  display: inline-block; }
.tag { display: inline-block; border: 1px solid var(--line); border-radius: 1rem; padding: 0 0.5rem; margin-left: 0.5rem;
  font-size: 0.6875rem; line-height: 1.125rem; color: var(--soft); vertical-align: 0.0625rem; }
.meter { display: inline-block; width: 4.5rem; height: 0.4375rem; border-radius: 1rem; background: var(--track);
  margin-right: 0.625rem; overflow: hidden; vertical-align: 0.0625rem; }
.meter b { display: block; height: 100%; background: var(--data); border-radius: 1rem; }
.meter.full b { background: var(--full); }
details { margin-top: 1rem; }
summary { cursor: pointer; color: var(--soft); }
footer { color: var(--soft); font-size: 0.8125rem; }

.part { display: inline-block; min-width: 2.75rem; }
@media (max-width: 40rem) {
  body { padding: 1.25rem 0.75rem; }
  .card { padding: 1rem; }
  .box span:not(.short), .box small:not(.short) { display: none; }
  table, tbody { display: block; }
  caption { display: block; }
  thead { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); }
  tbody tr { display: grid; grid-template-columns: minmax(0, 1fr) auto; border-top: 1px solid var(--line);
    padding: 0.4375rem 0; }
  tbody th, tbody td { border-top: 0; padding-top: 0.0625rem; padding-bottom: 0.0625rem; padding-right: 0; }
  tbody th { grid-column: 1; }
  tbody th.wide { grid-column: 1 / -1; }
  tbody td { grid-column: 1 / -1; display: flex; gap: 0.75rem; text-align: left; min-width: 0; }
  tbody td > span { min-width: 0; overflow-wrap: anywhere; }
  tbody td.size { grid-column: 2; grid-row: 1; padding-left: 0.75rem; font-weight: 600; }
  tbody td:empty { display: none; }
  td[data-label]::before { content: attr(data-label); color: var(--soft); font-size: 0.8125rem; flex: 0 0 4.5rem; text-align: left;
    padding-top: 0.0625rem; }
  .device { white-space: normal; }
  .place, .source { min-width: 0; }
  .name { overflow-wrap: anywhere; }
}
@media print {
  :root { --ground: #fff; --card: #fff; --ink: #000; --soft: #4a5361; --line: #cfd5dd; --track: #dfe3e9;
    --data: #2f6bc4; --start: #a3590b; --pool: #0d756e; --swap: #7a4bb8; --other: #5f6b7c; --frame: #98a2b0;
    --warn-ground: #fff; --full: #b3372b; --link: #1a212c; }
  @page { margin: 15mm; }
  body { padding: 0; font-size: 9pt; }
  .card { border-radius: 0; border-width: 1px 0 0; padding: 1rem 0; margin-bottom: 0; }
  .card > header, .picture, h2, summary { break-after: avoid; }
  footer { break-before: avoid; }
  .warn { border: 1px solid var(--warn-line); padding: 0.75rem; }
  .scroll { overflow: visible; break-inside: avoid; }
  tr, .picture, .warn { break-inside: avoid; }
  thead { display: table-header-group; }
  th, td { padding-right: 0.75rem; padding-top: 0.25rem; padding-bottom: 0.25rem; }
  details::details-content { content-visibility: visible; height: auto; }
}
)css";

}  // namespace diskmgt
