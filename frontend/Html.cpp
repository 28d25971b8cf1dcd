#include "frontend/Html.h"

#include "frontend/ShownText.h"

namespace kel::frontend {

std::string Html(std::string_view text) {
    std::string page;
    for (const char character : ShownText(text)) {
        switch (character) {
            case '&':
                page += "&amp;";
                break;
            case '<':
                page += "&lt;";
                break;
            case '>':
                page += "&gt;";
                break;
            case '"':
                page += "&quot;";
                break;
            case '\'':
                page += "&#39;";
                break;
            default:
                page += character;
        }
    }
    return page;
}

// Colours of the levels are dark enough for white text on them, by day and by night.
std::string_view HtmlStyle() {
    return R"css(
:root { color-scheme: light dark; --page: #f4f5f7; --card: #fff; --ink: #1d2330; --faint: #5b6473; --line: #dcdfe5;
  --code: #eef0f4; --1: #8c1024; --2: #b3261e; --3: #a24a00; --4: #7a5c00; --5: #1f5f8b; --clean: #17663a;
  --partial: #7a5c00; }
@media (prefers-color-scheme: dark) { :root { --page: #14171d; --card: #1d222b; --ink: #e8eaee; --faint: #a3acba;
  --line: #343b47; --code: #262d38; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--ink); font: 16px/1.5 system-ui, "Segoe UI", Roboto, sans-serif; }
header { color: #fff; padding: 2rem 1rem; }
header > div, main, footer { max-width: 60rem; margin: 0 auto; }
header p { margin: .25rem 0; }
header h1 { margin: .25rem 0; font-size: 2rem; line-height: 1.2; }
main { padding: 0 1rem; }
.l0 { background: var(--2); } .l1 { background: var(--1); } .l2 { background: var(--2); } .l3 { background: var(--3); }
.l4 { background: var(--4); } .l5 { background: var(--5); } .clean { background: var(--clean); }
.partial { background: var(--partial); }
section { background: var(--card); border: 1px solid var(--line); border-radius: .5rem; padding: 1rem 1.5rem;
  margin: 1.5rem 0; }
h2 { margin: .25rem 0 .75rem; font-size: 1.35rem; line-height: 1.3; overflow-wrap: anywhere; }
h3 { margin: 1rem 0 .25rem; font-size: 1rem; }
section p { margin: .25rem 0; overflow-wrap: anywhere; }
.badge { display: inline-block; color: #fff; border-radius: 1rem; padding: .1rem .7rem; font-size: .85rem;
  font-weight: 600; white-space: nowrap; vertical-align: middle; }
.todo { border-left: .3rem solid var(--clean); padding-left: .75rem; }
.faint { color: var(--faint); font-size: .9rem; }
table { border-collapse: collapse; width: 100%; }
th, td { text-align: left; vertical-align: top; padding: .4rem .75rem .4rem 0; border-bottom: 1px solid var(--line); }
td { overflow-wrap: anywhere; }
ul { margin: .25rem 0; padding-left: 1.25rem; }
li { margin: .2rem 0; overflow-wrap: anywhere; }
code { font: .9em/1.4 ui-monospace, Consolas, monospace; background: var(--code); border-radius: .25rem;
  padding: .1em .3em; white-space: pre-wrap; overflow-wrap: anywhere; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .25rem 1.25rem; margin: 0; }
dt { color: var(--faint); } dd { margin: 0; overflow-wrap: anywhere; }
a { color: inherit; }
summary { cursor: pointer; color: var(--faint); }
footer { padding: 0 1rem 2rem; color: var(--faint); font-size: .9rem; }
@media (max-width: 40rem) { dl { grid-template-columns: 1fr; gap: 0; } dd { margin-bottom: .5rem; }
  th:nth-child(2), td:nth-child(2) { display: none; } section { padding: .75rem 1rem; } }
@media print { section { break-inside: avoid-page; } header, .badge { print-color-adjust: exact; } }
)css";
}

}  // namespace kel::frontend
