// The style sheet of the inspection report.
#ifndef VEXA_APPS_REPORT_STYLE_H
#define VEXA_APPS_REPORT_STYLE_H

namespace app
{

inline constexpr char kReportStyle[] = R"css(
:root { --ink: #1b2733; --soft: #5b6b7a; --line: #d8dfe6; --band: #f4f6f8; --mark: #dc2020; --good: #1d7f4b; }
* { box-sizing: border-box; }
body { margin: 0; background: #e9edf1; color: var(--ink);
  font: 14px/1.45 "Segoe UI", "Helvetica Neue", Arial, "DejaVu Sans", sans-serif; }
main { max-width: 1180px; margin: 24px auto; background: #fff; box-shadow: 0 1px 4px rgba(20, 40, 60, .18); }
header { display: flex; justify-content: space-between; align-items: flex-end; gap: 24px; padding: 28px 36px 20px;
  border-bottom: 3px solid var(--ink); }
h1 { margin: 0; font-size: 26px; font-weight: 600; letter-spacing: .01em; }
header p { margin: 4px 0 0; color: var(--soft); }
.verdict { padding: 8px 18px; border-radius: 4px; color: #fff; font-size: 17px; font-weight: 600; white-space: nowrap; }
.verdict.fail { background: var(--mark); }
.verdict.pass { background: var(--good); }
section { padding: 20px 36px 8px; break-inside: auto; }
section:last-of-type { padding-bottom: 32px; }
h2 { margin: 0 0 12px; font-size: 17px; font-weight: 600; }
.facts { display: grid; grid-template-columns: 1fr 1fr; gap: 0 36px; }
.facts table { width: 100%; }
table { border-collapse: collapse; }
.facts th { width: 42%; padding: 5px 8px 5px 0; text-align: left; font-weight: 400; color: var(--soft); }
.facts td { padding: 5px 0; overflow-wrap: anywhere; }
.facts tr { border-bottom: 1px solid var(--line); }
.views { display: grid; grid-template-columns: 2fr 1fr; gap: 16px; align-items: start; }
.views div { display: grid; gap: 12px; }
figure { margin: 0; }
figure img { display: block; width: 100%; border: 1px solid var(--line); background: #888; }
figcaption { padding-top: 6px; color: var(--soft); font-size: 12.5px; }
.list { width: 100%; font-variant-numeric: tabular-nums; }
.list th { padding: 6px 10px; border-bottom: 2px solid var(--ink); text-align: right; font-weight: 600; }
.list td { padding: 5px 10px; border-bottom: 1px solid var(--line); text-align: right; }
.list tbody tr:nth-child(even) { background: var(--band); }
.list a { color: inherit; }
.entries { display: grid; grid-template-columns: 1fr 1fr; gap: 18px; }
.entry { border: 1px solid var(--line); break-inside: avoid; }
.entry h3 { display: flex; justify-content: space-between; margin: 0; padding: 7px 12px; background: var(--band);
  border-bottom: 1px solid var(--line); font-size: 14px; font-weight: 600; }
.entry h3 span { font-weight: 400; color: var(--soft); }
.crops { display: grid; grid-template-columns: repeat(3, 1fr); gap: 10px; padding: 12px 12px 8px; }
.crop { position: relative; }
.crop img { image-rendering: pixelated; aspect-ratio: 1; object-fit: contain; }
.crop i { position: absolute; border: 1.5px solid var(--mark); }
.note { color: var(--soft); }
footer { padding: 14px 36px 20px; border-top: 1px solid var(--line); color: var(--soft); font-size: 12.5px; }
@media (max-width: 860px) { .facts, .entries { grid-template-columns: 1fr; } }
@media print { body { background: #fff; } main { box-shadow: none; margin: 0; max-width: none; } }
)css";

} // namespace app

#endif
