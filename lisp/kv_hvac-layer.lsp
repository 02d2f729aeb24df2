;;; The application layer's project housekeeping: the marker by which a drawing takes part in its
;;; project's database, the work left for a drawing until it is next active, and the message for
;;; a block that no drawing file defines. The duct graph, the duct settings and the alignment
;;; conversions are in kv_hvac-ducts.lsp, the elevation list in kv_hvac-ductcmds.lsp, the room
;;; table in kv_hvac-rooms.lsp, the trees' callbacks in kv_hvac-trees.lsp, the data dialogs'
;;; queries and block replacement in kv_hvac-dialogs.lsp, the database repair in projectdb.lsp.

;;; ---- the drawing marker ----
;; Extended data of "KELVANE" on *Model_Space: text cells in key, value pairs. The module only
;; reads it, at project start, to connect the drawing without being asked.

;; The marker's cells as ((key . value) ...), in their order.
(defun marker-hvac-pairs (/ ms data cells out)
  (if (and (setq ms (tblobjname "BLOCK_RECORD" "*Model_Space"))
           (setq data (cdr (assoc -3 (entget ms '("KELVANE"))))))
    (progn
      (setq cells (cdar data))
      (while cells
        (if (and (= (caar cells) 1000) (cadr cells))
          (setq out (cons (cons (cdar cells) (cdadr cells)) out) cells (cddr cells))
          (setq cells (cdr cells))))))
  (reverse out))

;; The value of KEY in the marker, or nil.
(defun marker-hvac-get (key) (cdr (assoc key (marker-hvac-pairs))))

;; Sets KEY to VALUE in the marker, keeping the keys of the other applications (KV_ELEC...).
(defun marker-hvac-set (key value / pairs cells)
  (regapp "KELVANE")
  (setq pairs (append (vl-remove-if '(lambda (p) (= (car p) key)) (marker-hvac-pairs))
                      (list (cons key value))))
  (foreach p pairs (setq cells (append cells (list (cons 1000 (car p)) (cons 1000 (cdr p))))))
  (if (entmod (list (cons -1 (tblobjname "BLOCK_RECORD" "*Model_Space")) (list -3 (cons "KELVANE" cells))))
    T))

;; Marks the current drawing as part of its project's HVAC database.
(defun marker-hvac-join () (marker-hvac-set "KV_HVAC" "YES"))

;; Whether the current drawing carries the marker.
(defun marker-hvac-joined-p () (equal (marker-hvac-get "KV_HVAC") "YES"))

;;; ---- work left for a drawing ----
;; Work is kept per drawing path: in the project database when there is one, so that a drawing
;; opened in another session still finds it, else for this session. Kinds of work: "join"
;; (write the marker) and "rooms" (list the drawing's rooms in the project).

(setq *todo-hvac* nil)

(defun todo-hvac-table (/ file)
  (if (setq file (projectdb-currentFile))
    (progn
      (kvdb-execute file "CREATE TABLE IF NOT EXISTS tblKvToDo (sDrawing TEXT, sWork TEXT, PRIMARY KEY (sDrawing, sWork))")
      file)))

;; Leaves WORK for DRAWING (a full path) until it is next active.
(defun todo-hvac-add (drawing work / file)
  (if (setq file (todo-hvac-table))
    (kvdb-execute file (strcat "INSERT OR IGNORE INTO tblKvToDo (sDrawing, sWork) VALUES ('"
                               (room-hvac-quote drawing) "', '" work "')"))
    (if (not (member (cons drawing work) *todo-hvac*))
      (setq *todo-hvac* (append *todo-hvac* (list (cons drawing work))))))
  T)

;; The work left for DRAWING, in the order it is to run: the drawing joins its project before its
;; rooms are listed there. (Ordered by kind, not by when it was left: a database server keeps no
;; order of insertion.)
(defun todo-hvac-pending (drawing / file)
  (if (setq file (todo-hvac-table))
    (kvdb-query file (strcat "SELECT sWork FROM tblKvToDo WHERE sDrawing = '" (room-hvac-quote drawing)
                             "' ORDER BY CASE sWork WHEN 'join' THEN 0 WHEN 'rooms' THEN 1 ELSE 2 END, sWork")
                "sWork")
    (mapcar 'cdr (vl-remove-if-not '(lambda (x) (= (car x) drawing)) *todo-hvac*))))

(defun todo-hvac-done (drawing work / file)
  (if (setq file (todo-hvac-table))
    (kvdb-execute file (strcat "DELETE FROM tblKvToDo WHERE sDrawing = '" (room-hvac-quote drawing)
                               "' AND sWork = '" work "'"))
    (setq *todo-hvac* (vl-remove (cons drawing work) *todo-hvac*))))

;; Lists in the project every room of the drawing that it does not know yet; the number listed.
(defun todo-hvac-indexRooms (/ file known n ix)
  (setq n 0)
  (if (setq file (room-hvac-table))
    (progn
      (setq known (kvdb-query file "SELECT ixRoomL FROM tblRoomL" "ixRoomL"))
      (foreach e (ssgetx-room)
        (setq ix (cdr (assoc 90 (entget e))))
        (if (and ix (> ix 0) (not (member ix known)))
          (progn (room-hvac-register ix (strcat "Room " (itoa ix))) (setq n (1+ n)))))))
  n)

;; Runs one kind of WORK on the current drawing; a line saying what was done.
(defun todo-hvac-run (work)
  (cond
    ((= work "join") (if (marker-hvac-join) "joined the project" "could not write the project marker"))
    ((= work "rooms") (strcat (itoa (todo-hvac-indexRooms)) " room(s) listed in the project"))
    (T (strcat "unknown work \"" work "\" dropped"))))

;; The current drawing's full path.
(defun todo-hvac-drawing () (strcat (getvar "DWGPREFIX") (getvar "DWGNAME")))

;; Asked by the module when a drawing becomes active: runs the work left for it, each kind once.
(defun c:kv_hvac-doToDo (/ drawing)
  (setq drawing (todo-hvac-drawing))
  (foreach work (todo-hvac-pending drawing)
    (princ (strcat "\n" (vl-filename-base drawing) ": " (todo-hvac-run work) "."))
    (todo-hvac-done drawing work))
  (princ))

;;; ---- blocks ----

;; Tells the user that no drawing file defines the block NAME, and where it was looked for: the
;; drawing's folder and the support path (KV_SUPPORT_PATH).
(defun kvBlock-alertMissing (name / support)
  (setq support (getenv "KV_SUPPORT_PATH"))
  (princ (strcat "\nBlock \"" name "\" not found: no " name ".dwg in the drawing's folder "
                 (if (= (getvar "DWGPREFIX") "") "(the drawing is not saved yet)" (getvar "DWGPREFIX"))
                 (if (and support (/= support "")) (strcat " nor on the support path " support)
                     ", and no support path is set (KV_SUPPORT_PATH)")
                 "."))
  nil)
