// Small helpers for building the page. Texts from the lobby reach the document only as text nodes.

export const byId = (id) => document.getElementById(id);

// An element with a class and children; strings become text.
export function element(tag, className, ...children) {
  const node = document.createElement(tag);
  if (className) node.className = className;
  node.append(...children.map((child) => (child instanceof Node ? child : String(child))));
  return node;
}

// Puts a node first in a list that keeps its newest entries only.
export function prepend(list, node, most) {
  list.prepend(node);
  while (list.children.length > most) list.lastElementChild.remove();
}
