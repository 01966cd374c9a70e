// What a terminal makes of the few control characters that programs for terminals print.

const WIPE = /\x1b\[[23]J|\x1b\[H\x1b\[0?J|\x1bc/;
const SEQUENCE = /\x1b(?:\[[0-?]*[ -/]*[@-~]|\][^\x07\x1b]*(?:\x07|\x1b\\)|[()][A-Z0-9]|[78=>])/g;

/** A text without colours and movements of the cursor. @returns {wiped: whether the screen is wiped before it, text} */
export function withoutSequences(text) {
  if (!text.includes('\x1b')) return { wiped: false, text };
  const screens = text.split(WIPE);
  return { wiped: screens.length > 1, text: screens[screens.length - 1].replace(SEQUENCE, '') };
}

/** A text in which what follows a carriage return has replaced the line before it; one at the end waits for what comes. */
export function overwritten(text) {
  if (!text.includes('\r')) return text;
  const lines = text.split('\n');
  return lines.map((line, i) => {
    let end = line.length;
    while (end > 0 && line[end - 1] === '\r') end -= 1;
    const waits = i === lines.length - 1 && end < line.length;
    return line.slice(line.lastIndexOf('\r', end - 1) + 1, end) + (waits ? '\r' : '');
  }).join('\n');
}
