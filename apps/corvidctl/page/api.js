// Asking the tool behind the page.

/** A failure that the tool has put into a sentence, or that the connection is the reason of. */
export class ApiFailure extends Error {
  /** @param {number} status of HTTP; 0: there was no answer */
  constructor(status, sentence) {
    super(sentence);
    this.status = status;
  }
}

/** @param {string} path below api/, with its query. @returns {Promise<Object>} @throws {ApiFailure} */
export function ask(path) {
  return answer(`api/${path}`, {});
}

/** Asks for something to be done. @param {Object} body @throws {ApiFailure} */
export function order(path, body) {
  return answer(`api/${path}`,
    { method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body) });
}

/** Why a stream is refused, which the browser keeps for itself. @returns {Promise<ApiFailure>} status 200: it is not */
export async function refusalOf(path) {
  const end = new AbortController();
  try {
    const response = await fetch(`api/${path}`, { signal: end.signal });
    const data = response.ok ? {} : await response.json().catch(() => ({}));
    return new ApiFailure(response.status, data.error || `The tool answered with status ${response.status}.`);
  } catch {
    return new ApiFailure(0, 'The tool does not answer.');
  } finally {
    end.abort();
  }
}

async function answer(url, options) {
  let response;
  try {
    response = await fetch(url, options);
  } catch {
    throw new ApiFailure(0, 'The tool does not answer.');
  }
  const data = await response.json().catch(() => ({}));
  if (!response.ok) {
    throw new ApiFailure(response.status, data.error || `The tool answered with status ${response.status}.`);
  }
  return data;
}
