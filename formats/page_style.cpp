// One set of colours for each scheme. Texts keep a contrast of at least 4.5 to 1 to what they stand on.
#include "formats/page_style.h"

namespace diskmgt {

const char* const kPageStyle = R"css(
:root {
  color-scheme: light dark;
  --ground: #f3f4f6; --card: #ffffff; --ink: #1a212c; --soft: #566173; --line: #e1e5eb; --track: #e6e9ef;
  --data: #2f6bc4; --start: #a3590b; --pool: #0d756e; --swap: #7a4bb8; --other: #5f6b7c; --frame: #b9c1cd;
  --warn-ground: #fff6e0; --warn-line: #e3b341; --full: #b3372b;
}
@media (prefers-color-scheme: dark) {
  :root {
    --ground: #0f1319; --card: #171d26; --ink: #e4e9f0; --soft: #9ba8ba; --line: #29323f; --track: #2b3544;
    --data: #3a74c9; --start: #a8621a; --pool: #17807a; --swap: #8559c0; --other: #667385; --frame: #465365;
    --warn-ground: #2b2412; --warn-line: #a8842c; --full: #e0685b;
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
h2.name { font-size: 1.0625rem; }
p { margin: 0.25rem 0; }
.soft { color: var(--soft); }
.name { font-family: ui-monospace, "Cascadia Mono", "Noto Sans Mono", "DejaVu Sans Mono", monospace; font-size: 0.92em;
  overflow-wrap: anywhere; unicode-bidi: isolate; }
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

.bar { display: flex; gap: 2px; height: 3.75rem; margin-top: 1rem; }
.bar div { position: relative; flex: 0 1 0; min-width: 4px; overflow: hidden; border-radius: 3px; }
.bar > div:first-child { border-radius: 7px 3px 3px 7px; }
.bar > div:last-child { border-radius: 3px 7px 7px 3px; }
.bar > div:only-child { border-radius: 7px; }
.bar span, .bar small { display: block; padding: 0 0.5rem; white-space: nowrap; color: #fff; line-height: 1.3; }
.bar span { padding-top: 0.4375rem; font-size: 0.8125rem; font-weight: 600; }
.bar small { font-size: 0.75rem; }
.bar i { position: absolute; left: 0.5rem; right: 0.5rem; bottom: 0.4375rem; height: 4px; border-radius: 2px;
  background: rgb(255 255 255 / 30%); overflow: hidden; }
.bar i b { display: block; height: 100%; background: #fff; }
.bar .container { display: flex; gap: 2px; padding: 4px; border: 1.5px solid var(--frame); }
.bar .container span { padding-top: 0.25rem; }
.bar .container > span, .bar .container > small { color: var(--ink); }
.dot { display: inline-block; width: 0.6875rem; height: 0.6875rem; border-radius: 3px; margin-right: 0.5rem; }
.bar, .dot, .meter { -webkit-print-color-adjust: exact; print-color-adjust: exact; }
.data { background: var(--data); } .start { background: var(--start); } .pool { background: var(--pool); }
.swap { background: var(--swap); } .other { background: var(--other); }
.dot.container { border: 1.5px solid var(--frame); }
.gap { background: repeating-linear-gradient(-45deg, var(--track) 0 3px, transparent 3px 7px); }
.bar .gap, .dot.gap { border: 1px solid var(--track); }

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
.inside { padding-left: 1.375rem; }
.first { white-space: nowrap; }
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
  .bar span, .bar small { display: none; }
}
@media print {
  :root { --ground: #fff; --card: #fff; --ink: #000; --soft: #4a5361; --line: #cfd5dd; --track: #dfe3e9;
    --data: #2f6bc4; --start: #a3590b; --pool: #0d756e; --swap: #7a4bb8; --other: #5f6b7c; --frame: #98a2b0;
    --warn-ground: #fff; --full: #b3372b; }
  @page { margin: 15mm; }
  body { padding: 0; font-size: 9pt; }
  .card { border-radius: 0; border-width: 1px 0 0; padding: 1rem 0; margin-bottom: 0; }
  .card > header, .bar { break-after: avoid; }
  .warn { border: 1px solid var(--warn-line); padding: 0.75rem; }
  .scroll { overflow: visible; break-inside: avoid; }
  tr, .bar, .warn { break-inside: avoid; }
  thead { display: table-header-group; }
  th, td { padding-right: 0.75rem; padding-top: 0.25rem; padding-bottom: 0.25rem; }
  details::details-content { content-visibility: visible; height: auto; }
}
)css";

}  // namespace diskmgt
