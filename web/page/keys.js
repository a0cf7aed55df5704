// SPDX-License-Identifier: Apache-2.0
// Arrow keys in lists, tabs and trees: one of their items is reached by Tab, the others from it.

const ARROWS = { ArrowDown: 1, ArrowUp: -1, ArrowRight: 1, ArrowLeft: -1 };

/** Moves the focus to an item, and the Tab stop with it. */
function focusOn(items, item) {
  for (const other of items) other.tabIndex = other === item ? 0 : -1;
  item.focus();
}

/**
 * @param list    whose items are walked through
 * @param itemsOf gives those that are there now
 * @param keys    the arrows that step: "vertical" or "horizontal"
 * @param choose  told of an item that is reached or clicked
 */
export function walkable(list, itemsOf, keys, choose) {
  list.addEventListener("keydown", (event) => {
    const items = itemsOf();
    const at = items.indexOf(event.target.closest(".item"));
    const isOurs = keys === "vertical" ? /Down|Up/ : /Left|Right/;
    let next;
    if (event.key in ARROWS && isOurs.test(event.key)) next = items[at + ARROWS[event.key]];
    if (event.key === "Home") next = items[0];
    if (event.key === "End") next = items.at(-1);
    if (next === undefined || at < 0 || event.altKey || event.ctrlKey || event.metaKey) return;
    event.preventDefault();
    focusOn(items, next);
    choose(next);
  });
  list.addEventListener("click", (event) => {
    const item = event.target.closest(".item");
    if (!item || !list.contains(item)) return;
    focusOn(itemsOf(), item);
    choose(item);
  });
}
