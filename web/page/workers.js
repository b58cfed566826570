// Runs jobs in workers, one job in each. Urgent jobs go first. Workers start when a job needs them.
import workerCode from './worker_code.js'; // scripts/web.sh makes it: the worker and its libraries as text

// The script is made here, for two reasons: a worker of such a script has the policy of the page, and a new worker
// needs no connection.
const script = URL.createObjectURL(new Blob([workerCode], { type: 'text/javascript' }));

// Two images are decoded at once. Each may need a gigabyte.
const MAX_WORKERS = Math.max(1, Math.min(2, (navigator.hardwareConcurrency ?? 2) - 1));

// The memory of a module never shrinks. Above this size a worker is replaced after its job.
const MAX_KEPT_BYTES = 256 * 1024 * 1024;

const LOAD_FAILURE = 'The converter does not run in this browser. Chrome 97, Firefox 114, Safari 16 and later versions work.';

export class Workers {
    #idle = [];
    #busy = new Map(); // worker -> job
    #waiting = [];
    #lastId = 0;

    /**
     * Runs a job of worker.js.
     * @param {{isUrgent?: boolean, onStep?: (text: string) => void, group?: object}} how
     * @returns {Promise} the result. Fails with an Error for the user. Never ends if the job is canceled.
     */
    run(kind, request, { isUrgent = false, onStep = () => {}, group = null } = {}) {
        return new Promise((resolve, reject) => {
            const job = { id: ++this.#lastId, kind, request, isUrgent, onStep, group, resolve, reject };
            const place = isUrgent ? this.#waiting.findIndex((other) => !other.isUrgent) : -1;
            this.#waiting.splice(place === -1 ? this.#waiting.length : place, 0, job);
            this.#next();
        });
    }

    /** Drops the jobs of groups that wait, and stops those that run. */
    cancel(groups) {
        const canceled = new Set(groups);
        this.#waiting = this.#waiting.filter((job) => !canceled.has(job.group));
        for (const [worker, job] of [...this.#busy]) {
            if (canceled.has(job.group)) {
                this.#end(worker);
            }
        }
        this.#next();
    }

    #next() {
        while (this.#waiting.length > 0 && this.#busy.size < MAX_WORKERS) {
            const worker = this.#idle.pop() ?? this.#start();
            const job = this.#waiting.shift();
            this.#busy.set(worker, job);
            worker.postMessage({ id: job.id, kind: job.kind, request: job.request });
        }
    }

    #start() {
        const worker = new Worker(script, { type: 'module' });
        worker.onmessage = ({ data }) => this.#receive(worker, data);
        worker.onerror = () => {
            const job = this.#busy.get(worker);
            this.#end(worker);
            job?.reject(new Error(LOAD_FAILURE));
            this.#next();
        };
        return worker;
    }

    #end(worker) {
        worker.terminate();
        this.#busy.delete(worker);
        this.#idle = this.#idle.filter((other) => other !== worker);
    }

    #receive(worker, { id, step, result, error, isBroken, memory }) {
        const job = this.#busy.get(worker);
        if (job?.id !== id) {
            return;
        }
        if (step !== undefined) {
            job.onStep(step);
            return;
        }
        this.#busy.delete(worker);
        if (isBroken || memory > MAX_KEPT_BYTES) {
            this.#end(worker);
        } else {
            this.#idle.push(worker);
        }
        if (error === undefined) {
            job.resolve(result);
        } else {
            job.reject(new Error(error));
        }
        this.#next();
    }
}
