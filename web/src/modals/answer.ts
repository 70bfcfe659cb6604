/** Sends an answer; resolves with the reason when it was refused and the request stays open. */
export type Answer = (fields: object) => Promise<string>;
