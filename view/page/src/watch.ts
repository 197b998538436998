/** Asks the command that serves the page whether the file has changed, and shows it anew when it has. */

export function watch(path: string, status: HTMLElement) {
    let known = '';
    const ask = async () => {
        try {
            const answer = await fetch(path, { cache: 'no-store' });
            const [version, trouble] = (await answer.text()).split('\n');
            if (known !== '' && version !== known)
                location.reload();
            known = version;
            if (trouble)
                status.textContent = trouble;
        } catch {
            status.textContent = 'The command that showed this page has ended.';
        }
        setTimeout(ask, 700);
    };
    void ask();
}
