// SPDX-License-Identifier: Apache-2.0
#pragma once

// The look of the page: light and dark, and in one column on a phone.
constexpr char kStyle[] = R"(:root { color-scheme: light dark; }
body { margin: 0; font: 1rem/1.5 system-ui, sans-serif; color: #1b1b1b; background: #fff; }
main { max-width: 60rem; margin: 0 auto; padding: 1rem; }
h1 { font-size: 1.6rem; line-height: 1.25; margin: .5rem 0; }
h2 { font-size: 1.25rem; margin: 2rem 0 .5rem; border-bottom: 1px solid #999; }
h3 { font-size: 1rem; margin: 1rem 0 .25rem; }
h1, td, th, pre, p { overflow-wrap: anywhere; }
pre { white-space: pre-wrap; font: .95rem/1.5 ui-monospace, monospace; margin: 0; padding: .75rem;
  border: 1px solid #999; border-radius: .25rem; }
iframe { display: block; box-sizing: border-box; width: 100%; height: min(70vh, 36rem); resize: vertical;
  border: 1px solid #999; border-radius: .25rem; background: #fff; color-scheme: light; }
table { border-collapse: collapse; }
caption { text-align: left; font-weight: 600; padding: .5rem 0 .25rem; }
th, td { text-align: left; vertical-align: top; padding: .25rem .75rem .25rem 0; }
th { font-weight: 600; }
.wide { overflow-x: auto; }
.wide th, .wide td { border-bottom: 1px solid #bbb; overflow-wrap: normal; white-space: nowrap; }
.wide a, .wide td:last-child { overflow-wrap: anywhere; white-space: normal; }
.wide th:first-child, .wide th:last-child { min-width: 10rem; }
.fields th { white-space: nowrap; }
summary { cursor: pointer; padding: .5rem 0; }
a { color: #0b57d0; }
:focus-visible { outline: 3px solid #0b57d0; outline-offset: 2px; }
@media (max-width: 36rem) {
  .fields th, .fields td { display: block; padding-right: 0; }
  .fields th { padding-bottom: 0; white-space: normal; }
}
@media (prefers-color-scheme: dark) {
  body { color: #e6e6e6; background: #161616; }
  a { color: #8ab4f8; }
  :focus-visible { outline-color: #8ab4f8; }
}
)";
