// Runs jobs in workers, each in one. Jobs of a high priority go first. A broken worker is replaced.

// A worker gets the policy of the page only if the page makes its script.
const entry = URL.createObjectURL(new Blob(
    [`import ${JSON.stringify(new URL('../worker/worker.js', import.meta.url).href)};`], { type: 'text/javascript' }));

// Two images are decoded at once. Each may need a gigabyte.
const MAX_WORKERS = 2;

export class Workers {
    #idle = [];
    #busy = new Map(); // worker -> job
    #waiting = [];
    #lastId = 0;

    constructor() {
        const count = Math.max(1, Math.min(MAX_WORKERS, (navigator.hardwareConcurrency ?? 2) - 1));
        for (let i = 0; i < count; i++) {
            this.#idle.push(this.#start());
        }
    }

    /**
     * Runs a job of worker.js.
     * @param {{isUrgent?: boolean, onStep?: (text: string) => void, group?: object}} how
     * @returns {Promise} the result. Fails with an Error for the user. Never ends if the job is canceled.
     */
    run(kind, request, { isUrgent = false, onStep = () => {}, group = null } = {}) {
        return new Promise((resolve, reject) => {
            const job = { id: ++this.#lastId, kind, request, onStep, group, resolve, reject };
            if (isUrgent) {
                const place = this.#waiting.findIndex((other) => !other.isUrgent);
                this.#waiting.splice(place === -1 ? this.#waiting.length : place, 0, { ...job, isUrgent });
            } else {
                this.#waiting.push(job);
            }
            this.#next();
        });
    }

    /** Drops the jobs of a group that wait, and stops those that run. */
    cancel(group) {
        this.#waiting = this.#waiting.filter((job) => job.group !== group);
        for (const [worker, job] of this.#busy) {
            if (job.group === group) {
                this.#replace(worker);
            }
        }
        this.#next();
    }

    #start() {
        const worker = new Worker(entry, { type: 'module' });
        worker.onmessage = ({ data }) => this.#receive(worker, data);
        worker.onerror = () => this.#fail(worker, 'The converter could not be loaded, or ended unexpectedly.');
        return worker;
    }

    #replace(worker) {
        worker.terminate();
        this.#busy.delete(worker);
        this.#idle.push(this.#start());
    }

    #fail(worker, text) {
        const job = this.#busy.get(worker);
        if (job !== undefined) {
            this.#replace(worker);
            job.reject(new Error(text));
            this.#next();
        }
    }

    #receive(worker, { id, step, result, error, isBroken }) {
        const job = this.#busy.get(worker);
        if (job?.id !== id) {
            return;
        }
        if (step !== undefined) {
            job.onStep(step);
        } else if (isBroken) {
            this.#fail(worker, error);
        } else {
            this.#busy.delete(worker);
            this.#idle.push(worker);
            error === undefined ? job.resolve(result) : job.reject(new Error(error));
            this.#next();
        }
    }

    #next() {
        while (this.#idle.length > 0 && this.#waiting.length > 0) {
            const worker = this.#idle.pop();
            const job = this.#waiting.shift();
            this.#busy.set(worker, job);
            worker.postMessage({ id: job.id, kind: job.kind, request: job.request });
        }
    }
}
