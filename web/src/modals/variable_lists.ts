// The lists of variables that a picker fills: numbers of variables, each once in a list.

/** Puts variables into one list, in file order of picking, each once. */
export function withAdded(lists: number[][], list: number, numbers: number[]): number[][] {
  return lists.map((old, i) =>
    i === list ? [...old, ...numbers.filter(number => !old.includes(number))] : old,
  );
}
export function withRemoved(lists: number[][], list: number, numbers: number[]): number[][] {
  return lists.map((old, i) => (i === list ? old.filter(n => !numbers.includes(n)) : old));
}
/** Variables that stand in more than one list. */
export function inTwoRoles(lists: number[][]): number[] {
  const all = lists.flat();
  return [...new Set(all.filter((number, i) => all.indexOf(number) !== i))];
}
