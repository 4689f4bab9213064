export class CaptureError extends Error {
    /** Code of the program's event, such as "screen_permission_denied"; "" when there was none. */
    readonly code: string;
}

export interface Options {
    /** Path of the program. Default: "glimto-capture" */
    program?: string;
    env?: NodeJS.ProcessEnv;
    signal?: AbortSignal;
}

export interface LifecycleEvent {
    schemaVersion: 1;
    type: "recording_lifecycle";
    kind: string;
    timestamp: string;
    recordingId?: string;
    pageUrl?: string;
    permission?: { preflightGranted: boolean; screenRecording: "granted" | "denied" | "unknown" };
    error?: { code: string; message: string; type: string; domain: string; nsCode: number };
    stage?: string;
    state?: string;
    checkedObjectCount?: number;
    limitSeconds?: number;
}

export interface Take {
    path: string;
    playlistPath: string;
    manifestPath: string;
    thumbnailPath?: string;
    width: number;
    height: number;
    framesPerSecond: number;
    videoSegmentCount: number;
    audioSegmentCount: number;
    includesSystemAudio: boolean;
    requestedSystemAudio: boolean;
    includesAudioSegments: boolean;
    sourceDescription: string;
}

export interface Recording {
    /** Resolves once frames are being recorded; rejects when the process ends before. */
    readonly started: Promise<void>;
    /** Resolves when the take is complete (and uploaded, where that was asked for). */
    readonly finished: Promise<Take>;
    /** Asks for the end. The take is completed. */
    stop(): void;
    readonly events: readonly LifecycleEvent[];
    readonly pid: number | undefined;
}

/** Runs a command that prints one document and ends. `limit` is in milliseconds. */
export function run(args: string[], options?: Options & { limit?: number }): Promise<unknown>;

/** Starts a recording into `directory`. An abort of `signal` ends it well. */
export function record(
    directory: string,
    options?: string[],
    settings?: Options & { onEvent?: (event: LifecycleEvent) => void },
): Recording;
