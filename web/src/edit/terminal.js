// What a terminal makes of the few control characters that programs for terminals print.

const WIPE = /\x1b\[[23]J|\x1b\[H\x1b\[0?J|\x1bc/;
const SEQUENCE = /\x1b(?:\[[0-9;?]*[A-Za-z]|[()][A-Z0-9])/g;

/** A text without colours and movements of the cursor. @returns {wiped: whether the screen is wiped before it, text} */
export function withoutSequences(text) {
  if (!text.includes('\x1b')) return { wiped: false, text };
  const screens = text.split(WIPE);
  return { wiped: screens.length > 1, text: screens[screens.length - 1].replace(SEQUENCE, '') };
}

/** A text in which what follows a carriage return has replaced the line before it; one at the end waits for what comes. */
export const overwritten = (text) => (text.includes('\r') ? text.replace(/\r+\n/g, '\n').replace(/[^\n]*\r(?=[^\n])/g, '') : text);
